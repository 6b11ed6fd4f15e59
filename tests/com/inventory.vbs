' ExpressionInfo and ExpressionList through the script host: the record's properties and
' position conversions, the list's collection members and index rules, the walkers over a
' kxexpr.ConversionDocument, write-back and Save, and the error numbers a script sees.
Option Explicit
Dim failures : failures = 0
Sub Check(ok, what)
  If Not ok Then
    WScript.Echo "FAIL: " & what
    failures = failures + 1
  End If
End Sub
Function NewInfo(key, text)
  Dim record : Set record = CreateObject("KXExpressionBuilder75.ExpressionInfo")
  record.ExpressionKey = key
  record.ExpressionText = text
  Set NewInfo = record
End Function

Dim n, folder : folder = WScript.Arguments(0)
Dim CrLf2 : CrLf2 = "ab" & vbCrLf & "cd"

' ---- ExpressionInfo: plain properties, booleans -1/0, position conversions
Dim info : Set info = NewInfo("k", CrLf2)
Call Check(info.IsSelected = False And CInt(info.IsSelected) = 0, "IsSelected starts False")
info.IsSelected = True
Call Check(CInt(info.IsSelected) = -1, "True crosses as -1")
info.ExpressionType = 8 : info.SelColStart = -1 : info.RLName = "R" : info.SrcTrgOrdinalPosition = 70000
Call Check(info.ExpressionType = 8 And info.SelColStart = -1 And info.RLName = "R", "properties keep values")
Call Check(info.SrcTrgOrdinalPosition = 70000, "32-bit properties keep 32-bit values")
On Error Resume Next : info.ExpressionType = 40000 : n = Err.Number : On Error GoTo 0
Call Check(n = 6, "ExpressionType is 16-bit: overflow 6")
info.ReplacedExpression = CrLf2
info.InstrStart = 5 : info.InstrLength = 2
info.SetColRowFromInstr
Call Check(info.SelColStart = -1 And info.SelColEnd = 1 And info.SelRowStart = 2 And info.SelRowEnd = 2, _
  "SetColRowFromInstr at the start of line 2")
info.SelColStart = 1 : info.SelRowStart = 2 : info.SelColEnd = 1
info.SetInstrStartFromColRow
Call Check(info.InstrStart = 4 And info.InstrLength = 1, "SetInstrStartFromColRow")
info.ExpressionText = ""
info.SetInstrStartFromColRow
Call Check(info.InstrStart = 0, "SetInstrStartFromColRow on an empty text")
' Every property keeps its own value.
Dim rec : Set rec = CreateObject("KXExpressionBuilder75.ExpressionInfo")
rec.ActionOrdinalPosition = 1 : rec.EventOrdinalPosition = 2 : rec.InstrStart = 3
rec.InstrLength = 4 : rec.RLOrdinalPosition = 5 : rec.SrcTrgOrdinalPosition = 6
rec.OrdinalPosition = 7 : rec.SelRowEnd = 8 : rec.SelRowStart = 9 : rec.SelColEnd = 10
rec.SelColStart = 11 : rec.ExpressionType = 12
rec.EventKey = "a" : rec.EventName = "b" : rec.RLKey = "c" : rec.RLName = "d"
rec.SrcTrgKey = "e" : rec.SrcTrgName = "f" : rec.ReplacedExpression = "g"
rec.ReplacedSelectedText = "h" : rec.ExpressionKey = "i" : rec.SelectedText = "j"
rec.ExpressionText = "k" : rec.Description = "l" : rec.ExpressionName = "m"
Dim values
values = rec.ActionOrdinalPosition & "," & rec.EventOrdinalPosition & "," & rec.InstrStart
values = values & "," & rec.InstrLength & "," & rec.RLOrdinalPosition & "," & rec.SrcTrgOrdinalPosition
values = values & "," & rec.OrdinalPosition & "," & rec.SelRowEnd & "," & rec.SelRowStart
values = values & "," & rec.SelColEnd & "," & rec.SelColStart & "," & rec.ExpressionType
values = values & "," & rec.EventKey & rec.EventName & rec.RLKey & rec.RLName & rec.SrcTrgKey
values = values & rec.SrcTrgName & rec.ReplacedExpression & rec.ReplacedSelectedText & rec.ExpressionKey
values = values & rec.SelectedText & rec.ExpressionText & rec.Description & rec.ExpressionName
Call Check(values = "1,2,3,4,5,6,7,8,9,10,11,12,abcdefghijklm", "every property keeps its own value: " & values)
info.ExpressionText = Chr(233) & Chr(128) & Chr(255)
Call Check(info.ExpressionText = Chr(233) & Chr(128) & Chr(255), "text survives the ANSI code page")

' ---- ExpressionList: Add, Item, Delete, Count, RemoveAll, For Each
Dim list : Set list = CreateObject("KXExpressionBuilder75.ExpressionList")
Dim a : Set a = NewInfo("a", "1")
Dim held : Set held = list.Add(a)
Call Check(held Is a, "Add returns the record it stored")
Dim b : Set b = NewInfo("a", "other")
Set held = list.Add(b)
Call Check(held Is a And b Is a And list.Count = 1, "Add of a present key returns the first and replaces the argument")
list.Add NewInfo("3", "three")
list.Add NewInfo("c", "C")
Call Check(list.Count = 3, "three records")
Call Check(list.Item(2).ExpressionText = "three" And list("c").ExpressionText = "C", "Item by position and key")
Call Check(list.Item(1) Is list.Item("a"), "one object per record")
Call Check(list.Item("A") Is Nothing And list.Item("") Is Nothing And list.Item(9) Is Nothing, _
  "Item gives Nothing for a wrong-case key, an empty key, a position past the end")
list.Delete CLng(3)   ' a 32-bit number is a key
Call Check(list.Count = 2 And list.Item("3") Is Nothing, "Delete of the 32-bit 3 removes the record keyed 3")
list.Delete "C"
Call Check(list.Count = 2, "Delete of a key in another case removes nothing")
list.Delete 2         ' a 16-bit number is a position
Call Check(list.Count = 1 And list.Item(1) Is a, "Delete of the 16-bit 2 removes the second record")
On Error Resume Next : list.Delete 5 : n = Err.Number : On Error GoTo 0
Call Check(n = 9, "Delete of a position past the end: 9")
' Template application with values that need no prompt: the current text and the selection,
' spliced back in place of the selection.
Dim tw : Set tw = CreateObject("KXExpressionBuilder75.ExprTemplate")
tw.Name = "Wrap" : tw.Body = "Trim(<<X>>) & <<Y>>"
tw.ExtractandAddParams
tw.ParameterValuebyName "X", "^c" : tw.ParameterValuebyName "Y", "^h"
Dim sel : Set sel = NewInfo("s", "ab" & vbCrLf & "cd")
sel.SelectedText = "c" : sel.SelRowStart = 2 : sel.SelRowEnd = 2 : sel.SelColStart = 0 : sel.SelColEnd = 1
list.Add sel
Set list.TemplateToUse = tw
list.ApplyTemplatetoStrings
Call Check(a.ReplacedExpression = "Trim(1) & " And a.ReplacedSelectedText = "Trim(1) & ", _
  "applied to a record without selection: " & a.ReplacedExpression)
Call Check(sel.ReplacedSelectedText = "Trim(ab" & vbCrLf & "cd) & c" And _
  sel.ReplacedExpression = "ab" & vbCrLf & "Trim(ab" & vbCrLf & "cd) & cd", _
  "applied in place of the selection: " & sel.ReplacedExpression)
tw.ParameterValuebyName "Y", "<<Y>>!"
On Error Resume Next : list.ApplyTemplatetoStrings : n = Err.Number : On Error GoTo 0
Call Check(n = 5 And a.ReplacedExpression = "Trim(1) & ", "a value holding its own name is refused (5), nothing changed")
list.Delete "s"
list.RemoveAll
Call Check(list.Count = 0 And list.Item(1) Is Nothing, "RemoveAll empties the list")
Call Check(a.ExpressionKey = "a", "a record outlives the list that held it")

' ---- walkers over the bundled host
Dim doc : Set doc = CreateObject("kxexpr.ConversionDocument")
On Error Resume Next : doc.Save : n = Err.Number : On Error GoTo 0
Call Check(n = 91, "Save before Load: 91")
On Error Resume Next : doc.Load folder & "\absent.json" : n = Err.Number : On Error GoTo 0
Call Check(n = 53, "Load of a missing file: 53")
doc.Load folder & "\sample-conversion.json"
Call Check(doc.Source Is doc.Source, "a side read twice is one object")
Call Check(doc.Source.SpokeTypeName = "Delimited ASCII", "the side answers by name")
Set list.SourceControl = doc.Source
Set list.TargetControl = doc.Target
Call Check(list.SourceControl Is doc.Source And list.TargetControl Is doc.Target, "the sides read back")
On Error Resume Next : list.BuildCompleteConversionExpressionList : n = Err.Number : On Error GoTo 0
Call Check(n = 457, _
  "the composite stops where source and target keys collide (sfilt0): 457")
Call Check(list.Count = 19, "and keeps the 19 records listed before, not " & list.Count)
list.RemoveAll
On Error Resume Next : list.BuildALLActionParametersList : n = Err.Number : On Error GoTo 0
Call Check(n = 457 And list.Count = 12, "every action parameter: target event se0/a0/p0 collides after 12")
list.RemoveAll
On Error Resume Next : list.BuildALLActionParametersandALLExpressionsList : n = Err.Number : On Error GoTo 0
Call Check(n = 457 And list.Count = 12, "the same collision in the other composite")
list.RemoveAll
list.BuildTargetFieldExpressionList
list.BuildSortFieldExpressionList
list.BuildConversionEventExpressionList True
list.BuildTargetRLEventExpressionList False
list.BuildCodeModuleExpressionList
Call Check(list.Count = 15, "5 fields, 2 sort fields, 3 conversion events, 3 layout events, 2 modules, not " & list.Count)
On Error Resume Next : list.BuildSortFieldExpressionList : n = Err.Number : On Error GoTo 0
Call Check(n = 457, "a walker run twice: 457")
Dim r, keys
For Each r In list
  keys = keys & Replace(r.ExpressionKey, Chr(27), "/") & ";"
Next
Call Check(Left(keys, 44) = "trl0/f0;trl0/f1;trl0/f2;trl0/f4;trl0/f5;ssor", "For Each in list order: " & keys)
Set r = list.Item("trl0" & Chr(27) & "f2")
Call Check(r.Description = "Target Record (Orders) Field (Customer)" And r.ExpressionName = "Customer" _
  And r.ExpressionType = 8 And r.OrdinalPosition = 2, "a target field record")
Set r = list.Item("srl0" & Chr(27) & "e0" & Chr(27) & "a1" & Chr(27) & "p0")
Call Check(r.Description = "Target Record (Orders), Event1: BeforeInsert, Action2: Write Log, Parameter1: &7", _
  "type 5 keeps &7: " & r.Description)
Dim module : Set module = list.Item(list.Count)
Call Check(module.ExpressionType = 10 And InStr(module.ExpressionText, "Function ParseDate") = 1, _
  "a code module record holds the file")

' ---- write-back and Save
Set r = list.Item("trl0" & Chr(27) & "f2")
r.ReplacedExpression = "UCase(Records(""Customer"").Fields(""CustomerNo""))"
Call Check(list.Item(3) Is r, "the third record is the third field")
list.ReplaceExpressionInVBX 3
Set r = list.Item("ce1" & Chr(27) & "a0" & Chr(27) & "p0")
r.ReplacedExpression = """done"""
Dim i
For i = 1 To list.Count
  If list.Item(i) Is r Then list.ReplaceExpressionInVBX i
Next
On Error Resume Next : list.ReplaceExpressionInVBX 99 : n = Err.Number : On Error GoTo 0
Call Check(n = 9, "write-back past the end of the list: 9")
doc.Save
Dim again : Set again = CreateObject("kxexpr.ConversionDocument")
again.Load folder & "\sample-conversion.json"
Dim saved : Set saved = CreateObject("KXExpressionBuilder75.ExpressionList")
Set saved.TargetControl = again.Target
saved.BuildTargetFieldExpressionList
saved.BuildConversionEventExpressionList True
Call Check(saved.Item("trl0" & Chr(27) & "f2").ExpressionText = "UCase(Records(""Customer"").Fields(""CustomerNo""))", _
  "the target field's new text was saved")
Call Check(saved.Item("ce1" & Chr(27) & "a0" & Chr(27) & "p0").ExpressionText = """done""", _
  "the event parameter's new text was saved")
Call Check(saved.Item("trl0" & Chr(27) & "f0").ExpressionText = "Records(""OrderLine"").Fields(""OrderNo"")", _
  "other texts stay")

' ---- objects are set with Set, and only objects
Dim t : Set t = CreateObject("KXExpressionBuilder75.ExprTemplate")
Set list.TemplateToUse = t
Call Check(list.TemplateToUse Is t, "TemplateToUse reads back the same template")
On Error Resume Next : Set list.TemplateToUse = doc : n = Err.Number : On Error GoTo 0
Call Check(n <> 0, "a foreign object is no template")
On Error Resume Next : list.SourceControl = 5 : n = Err.Number : On Error GoTo 0
Call Check(n <> 0, "a value is no source control")
Set list.SourceControl = Nothing
Call Check(list.SourceControl Is Nothing, "Nothing clears a side")
list.RemoveAll
list.BuildSourceFilterExpressionList
Call Check(list.Count = 0, "walkers skip a side that is not set")

If failures = 0 Then WScript.Echo "DONE" Else WScript.Quit 1
