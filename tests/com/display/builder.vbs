' ExpressionBuilder through the script host, every member but the window's: defaults, values
' as they cross (booleans -1/0, 32-bit HelpID, ANSI text), objects set with Set, the control
' import between host objects written in VBScript, user lists and the tree, error numbers.
' Its window is made with it, so this runs on a display.
Option Explicit
Dim failures : failures = 0
Sub Check(ok, what)
  If Not ok Then
    WScript.Echo "FAIL: " & what
    failures = failures + 1
  End If
End Sub

Class FontLike
  Public Name
  Public Size
End Class
Class SourceLike
  Public Property Get ControlHandle
    ControlHandle = 4711
  End Property
End Class
Class TargetLike
  Public imported
  Public calls
  Public Sub ImportControl(handle)
    imported = handle : calls = calls + 1
  End Sub
End Class

' A message box would wait for ever: the driver answers it and tells.
Dim folder : folder = WScript.Arguments(0)
Dim shell : Set shell = CreateObject("WScript.Shell")
Dim fs : Set fs = CreateObject("Scripting.FileSystemObject")
shell.Run """" & WScript.Arguments(1) & """ watch """ & folder & "\stop"" """ & folder & "\box.txt""", 0, False

Dim n, b : Set b = CreateObject("KXExpressionBuilder75.ExpressionBuilder")

' ---- defaults
Call Check(CInt(b.AllowTemplates) = 0 And CInt(b.AllowValidation) = 0 And _
  CInt(b.ParameterButtonVisible) = 0, "the flags start False (0)")
Call Check(b.Expression = "" And b.FormTitle = "" And b.HelpFile = "" And b.HelpID = 0 And _
  b.KeywordFile = "" And b.ProductName = "" And b.TemplateFile = "" And b.TemplateName = "", _
  "texts start empty, HelpID 0")
Call Check(b.Font.Name = "MS Sans Serif" And b.Font.Size = 8, "a font of its own: " & b.Font.Name & " " & b.Font.Size)
Call Check(VarType(b.KXTypeLibPath) = vbString, "KXTypeLibPath is a string")
Call Check(b.SourceControl Is Nothing And b.TargetControl Is Nothing, "no host objects yet")

' ---- every property keeps its own value
b.AllowTemplates = True : b.AllowValidation = True : b.ParameterButtonVisible = True
Call Check(CInt(b.AllowTemplates) = -1 And CInt(b.AllowValidation) = -1 And _
  CInt(b.ParameterButtonVisible) = -1, "True crosses as -1")
b.AllowValidation = False
Call Check(CInt(b.AllowTemplates) = -1 And CInt(b.AllowValidation) = 0, "each flag is its own")
Dim text : text = "If a" & Chr(233) & " Then" & vbCrLf & "Return " & Chr(128)
b.Expression = text : b.FormTitle = "t" : b.HelpFile = "h.hlp" : b.KeywordFile = "k.ini"
b.ProductName = "p" : b.TemplateFile = "x.tpl" : b.TemplateName = "n" : b.HelpID = 70000
Dim values
values = b.FormTitle & b.HelpFile & b.KeywordFile & b.ProductName & b.TemplateFile & b.TemplateName
Call Check(values = "th.hlpk.inipx.tpln", "texts keep their values: " & values)
Call Check(b.Expression = text, "the expression survives the ANSI code page and its line break")
Call Check(b.HelpID = 70000, "HelpID is 32-bit")
On Error Resume Next : b.KXTypeLibPath = "x" : n = Err.Number : On Error GoTo 0
Call Check(n <> 0, "KXTypeLibPath cannot be set")

' ---- objects are set with Set and read back as they were set
Dim f : Set f = New FontLike
f.Name = "Courier New" : f.Size = 10
Set b.Font = f
Call Check(b.Font Is f, "Font gives back the object that was set")
On Error Resume Next : Set b.Font = Nothing : n = Err.Number : On Error GoTo 0
Call Check(n = 91, "Font set to Nothing: 91, got " & n)
Dim incomplete : Set incomplete = New SourceLike
On Error Resume Next : Set b.Font = incomplete : n = Err.Number : On Error GoTo 0
Call Check(n = 438, "a font without Name: 438, got " & n)

' Whichever side is set last hands the source's control to the target, once.
Dim src : Set src = New SourceLike
Dim trg : Set trg = New TargetLike
trg.calls = 0
Set b.TargetControl = trg
Call Check(trg.calls = 0, "one side alone imports nothing")
Set b.SourceControl = src
Call Check(trg.calls = 1 And trg.imported = 4711, "the target imported the source's handle")
Call Check(b.SourceControl Is src And b.TargetControl Is trg, "the sides read back as set")
Set b.SourceControl = Nothing
Call Check(b.SourceControl Is Nothing And trg.calls = 1, "Nothing imports nothing")

' ---- the bundled host's sides, user lists and the tree
Dim doc : Set doc = CreateObject("kxexpr.ConversionDocument")
doc.Load folder & "\sample-conversion.json"
Set b.SourceControl = doc.Source
Set b.TargetControl = doc.Target
Call Check(b.TargetControl Is doc.Target, "a host's own sides")
b.KXExpressionBuilder_AddList "", "Colours", "colours", "red|green|blue"
b.KXExpressionBuilder_AddList "colours", "Warm", "warm", "red|orange"
' The tree is filled once (a failure would show a message box that nobody answers, and the
' run would time out).
b.KXExpressionBuilder_BuildTree

' ---- a second builder is a second object with a window of its own
Dim b2 : Set b2 = CreateObject("KXExpressionBuilder75.ExpressionBuilder")
Call Check(b2.Expression = "" And Not (b2 Is b), "a new builder starts afresh")
b2.KXExpressionBuilder_AddList "", "Sizes", "sizes", "S|M|L"
b2.BuildUserTree
Set b2 = Nothing

' A box, had there been one, was written down before it was answered.
Dim stopper : Set stopper = fs.CreateTextFile(folder & "\stop")
stopper.Close
If fs.FileExists(folder & "\box.txt") Then
  Call Check(False, fs.OpenTextFile(folder & "\box.txt").ReadAll)
End If
If failures = 0 Then WScript.Echo "DONE"
