' ExprTemplates, ExprTemplate and ExprParameter through the script host: loading, lookups by
' position and name, For Each over a set and over a template's parameters, Add and Delete
' rules, parameter extraction, copying, writing and reading back, the sorted copy with a
' script's own sorter, and the error numbers a script sees.
Option Explicit
Dim failures : failures = 0
Sub Check(ok, what)
  If Not ok Then
    WScript.Echo "FAIL: " & what
    failures = failures + 1
  End If
End Sub

' A sorter as CopyandSortName fills one: Clear, then AddItem in order.
Class Sorter
  Public Items
  Public Sub Clear
    Items = ""
  End Sub
  Public Sub AddItem(text)
    Items = Items & text & ","
  End Sub
End Class

Function NewTemplate(name, body)
  Dim t : Set t = CreateObject("KXExpressionBuilder75.ExprTemplate")
  t.Name = name
  t.Body = body
  Set NewTemplate = t
End Function

Dim n, folder : folder = WScript.Arguments(0)
Dim set1 : Set set1 = CreateObject("KXExpressionBuilder75.ExprTemplates")
set1.ProductName = "Tests"
set1.TemplateFileModified = True
set1.filename = folder & "\sample.tpl"
Call Check(set1.Count = 7, "the sample has 7 templates, not " & set1.Count)
Call Check(set1.TemplateFileModified = False, "a load resets TemplateFileModified")
Call Check(set1.filename = folder & "\sample.tpl" And set1.ProductName = "Tests", "properties read back")

' ---- lookups and For Each
Dim t, names
For Each t In set1
  names = names & t.Name & ","
Next
Call Check(names = "IfBlank,TrimField,PadCode,DateConvert,DateFromParts,LookupCode,LookupField,", _
  "For Each in file order: " & names)
Call Check(set1.Item(1).Name = "IfBlank" And set1("ifblank") Is set1.Item(1), _
  "by position, and by name ignoring case, one object")
Call Check(set1.Item(0) Is Nothing And set1.Item(8) Is Nothing And set1.Item("") Is Nothing _
  And set1.Item("Nope") Is Nothing, "lookups that find nothing give Nothing")

' ---- a loaded template and its parameters
Set t = set1("DateConvert")
Call Check(t.ParameterCount = 3, "DateConvert has 3 parameters")
Dim p : Set p = t.ParameterbyIndex(2)
Call Check(p.Name = "Format" And p.DefaultValue = "^?" And p.Value = "^?", "values start as defaults")
Call Check(t.ParameterbyIndex(4) Is Nothing, "a position past the end gives Nothing")
On Error Resume Next : Set p = t.ParameterbyIndex(0) : n = Err.Number : On Error GoTo 0
Call Check(n = 9, "position 0: 9")
On Error Resume Next : Set p = t.ParameterbyIndex(40000) : n = Err.Number : On Error GoTo 0
Call Check(n = 6, "positions are 16-bit: 6")
names = ""
For Each p In t.Parameters
  names = names & p.Name & ","
Next
Call Check(names = "Field,Format,Fallback," And t.Parameters.Count = 3, "For Each over Parameters")
Set p = t.ParameterbyName("Format")
p.Value = "yyyy"
Dim ps : Set ps = t.Parameters
Call Check(ps("format").Value = "yyyy" And ps(2) Is p, "parameters are shared objects")
Call Check(t.ParameterExists("Format") = True And t.ParameterExists("format") = False, _
  "ParameterExists compares exactly")
Call Check(CInt(t.ParameterExists("Format")) = -1, "True crosses as -1")
On Error Resume Next : t.ParameterValuebyIndex 9, "x" : n = Err.Number : On Error GoTo 0
Call Check(n = 9, "ParameterValuebyIndex past the end: 9")

' ---- parameter extraction
Dim u : Set u = NewTemplate("U", "<<A>> + <<B>> + <<A>>")
u.ExtractandAddParams
Call Check(u.ParameterCount = 2 And u.ParameterbyIndex(2).Name = "B", "A and B, once each, in order")
u.Body = "<<A>> and <<a>>"
On Error Resume Next : u.ExtractandAddParams : n = Err.Number : On Error GoTo 0
Call Check(n = 457, "a name differing only in case: 457")
u.Body = "<<C>> then <<never"
On Error Resume Next : u.ExtractandAddParams : n = Err.Number : On Error GoTo 0
Call Check(n = 5 And u.ParameterCount = 2, "an unclosed last << is refused (5) instead of scanning forever")
u.ParameterValuebyName "New", "v"
Call Check(u.ParameterCount = 3 And u.ParameterbyName("New").Value = "v", "ParameterValuebyName appends")

' ---- copying: prompting does not come along
Set p = u.ParameterbyIndex(1)
p.PromptEveryRow = True
p.PromptValue = "asked"
Dim c : Set c = CreateObject("KXExpressionBuilder75.ExprTemplate")
c.CopyContents u
Call Check(c.Name = "U" And c.ParameterCount = 3 And Not (c.ParameterbyIndex(1) Is u.ParameterbyIndex(1)), _
  "a copy has parameters of its own")
Call Check(c.ParameterbyIndex(1).PromptEveryRow = False And c.ParameterbyIndex(1).PromptValue = "", _
  "a copy starts with prompting off")
c.FreeParameterValuePairs
Call Check(c.ParameterCount = 0, "FreeParameterValuePairs")

' ---- Add and Delete
Dim same : Set same = NewTemplate("IfBlank", "other")
Dim held : Set held = set1.Add(same)
Call Check(held Is set1("IfBlank") And same Is held And held.Body <> "other", _
  "Add of a present name returns the held template and replaces the argument")
On Error Resume Next : set1.Add NewTemplate("ifblank", "x") : n = Err.Number : On Error GoTo 0
Call Check(n = 457, "a name differing only in case: 457")
Dim z : Set z = NewTemplate("Zeta", "<<q>>")
z.ExtractandAddParams
Set p = z.ParameterbyIndex(1)
p.DefaultValue = "dq"
set1.Add z
Call Check(set1.Count = 8 And z.ParameterbyIndex(1).Value = "dq", "an added template's empty values take defaults")
set1.Delete "zeta"
Call Check(set1.Count = 8, "Delete by name compares exactly")
set1.Delete CLng(1)
Call Check(set1.Count = 8, "a 32-bit number is a name")
set1.Delete 1
Call Check(set1.Count = 7 And set1.Item(1).Name = "TrimField", "a 16-bit number is a position")
set1.Delete "Zeta"
Call Check(set1.Count = 6, "Delete by name")

' ---- the sorted copy, with a sorter of the script's own
Dim sorted : Set sorted = CreateObject("KXExpressionBuilder75.ExprTemplates")
Dim names_in_order : Set names_in_order = New Sorter
Call Check(set1.CopyandSortName(sorted, names_in_order) = True, "CopyandSortName returns True")
Call Check(names_in_order.Items = "DateConvert,DateFromParts,LookupCode,LookupField,PadCode,TrimField,", _
  "the sorter got the names in order: " & names_in_order.Items)
Dim plain : Set plain = CreateObject("KXExpressionBuilder75.ExprTemplates")
Call Check(set1.CopyandSortName(plain) = True And plain.Count = 7, "the sorter is optional")
' The target loads the file first, so its templates are the file's, in file order.
Call Check(sorted.Count = 7 And sorted.Item(1).Name = "IfBlank", "the target holds the file's templates")

' ---- write and read back
Dim out_path : out_path = folder & "\written.tpl"
Dim written : Set written = CreateObject("KXExpressionBuilder75.ExprTemplates")
written.filename = out_path
Call Check(written.Count = 0, "a missing file loads as an empty set")
For Each t In set1
  written.Add t
Next
written.WriteToFile
Dim reread : Set reread = CreateObject("KXExpressionBuilder75.ExprTemplates")
reread.filename = out_path
Call Check(reread.Count = 6 And reread.Item(6).Name = "LookupField", "written templates read back")
Call Check(reread("DateConvert").ParameterbyIndex(2).DefaultValue = "^?", "with their defaults")
Call Check(reread("DateConvert").ParameterbyIndex(2).Value = "^?", "values are not stored")
reread.FreeTemplates
Call Check(reread.Count = 0, "FreeTemplates")

' ---- a malformed file: the load fails with a message (no desktop here: no box waits)
Dim fso : Set fso = CreateObject("Scripting.FileSystemObject")
Dim bad : Set bad = fso.CreateTextFile(folder & "\bad.tpl", True)
bad.Write "not a template" & vbCrLf
bad.Close
Dim broken : Set broken = CreateObject("KXExpressionBuilder75.ExprTemplates")
broken.filename = folder & "\bad.tpl"
Call Check(broken.Count = 0 And broken.OpenandParseTemplateFile = False, "a malformed file does not load")

If failures = 0 Then WScript.Echo "DONE" Else WScript.Quit 1
