' Show 1 with the real window, played from outside by show_driver.exe: after OK Expression
' holds what was typed, after Cancel it keeps its value; each Show starts from Expression.
' Arguments: the data folder, the driver.
Option Explicit
Dim failures : failures = 0
Sub Check(ok, what)
  If Not ok Then
    WScript.Echo "FAIL: " & what
    failures = failures + 1
  End If
End Sub

Dim folder : folder = WScript.Arguments(0)
Dim driver : driver = WScript.Arguments(1)
Dim shell : Set shell = CreateObject("WScript.Shell")
Dim fs : Set fs = CreateObject("Scripting.FileSystemObject")
Dim seenFile : seenFile = folder & "\seen.txt"

' Starts the driver on the window titled `caption`: it reads the editor, types `typed`, presses
' the buttons `pressed` and then `button`.
Sub Start(caption, button, typed, pressed)
  If fs.FileExists(seenFile) Then fs.DeleteFile seenFile
  shell.Run """" & driver & """ """ & caption & """ " & button & " """ & typed & """ """ & seenFile & """ " & pressed, 0, False
End Sub
' What the driver found in the editor when the window showed.
Function Seen()
  If fs.FileExists(seenFile) Then
    Seen = fs.OpenTextFile(seenFile).ReadAll
  Else
    Seen = "(the driver saw no window)"
  End If
End Function
' Shows the builder's window modally, played by the driver.
Function Play(b, button, typed, pressed)
  Call Start(b.FormTitle, button, typed, pressed)
  b.Show 1
  Play = Seen()
End Function

' The host's function library, where a builder made from now on finds it.
Const kHostLibrary = "HKCR\CLSID\{43A5AC4D-ACB7-11D3-96C0-00104B383C01}\InprocServer32\"
shell.RegWrite kHostLibrary, folder & "\kx750ui_fn.dll"

Dim b : Set b = CreateObject("KXExpressionBuilder75.ExpressionBuilder")
Call Check(LCase(b.KXTypeLibPath) = LCase(folder & "\kx750ui_fn.dll"), "KXTypeLibPath from the registry: " & b.KXTypeLibPath)
b.FormTitle = "Show test"
' The template command stays only when the window first shows with it allowed.
b.AllowTemplates = True
b.Expression = "Trim(a)"
b.KXExpressionBuilder_BuildTree

Dim found
found = Play(b, "ok", "UCase(b) + 1", "")
WScript.Echo "after OK: " & b.Expression
Call Check(found = "Trim(a)", "the window opened on Expression: " & found)
Call Check(b.Expression = "UCase(b) + 1", "OK hands the typed text back")

found = Play(b, "cancel", "thrown away", "")
WScript.Echo "after Cancel: " & b.Expression
Call Check(found = "UCase(b) + 1", "the second Show starts from the current Expression: " & found)
Call Check(b.Expression = "UCase(b) + 1", "Cancel leaves Expression as it was")

' The operator pad inserts at the caret, after what was typed.
found = Play(b, "ok", "a", "And Not")
Call Check(b.Expression = "a And  Not ", "operators from the pad: [" & b.Expression & "]")

' ---- the template manager from the toolbar: the second template is picked and applied
' to what was typed, and OK hands the result back.
Dim tpl : Set tpl = CreateObject("KXExpressionBuilder75.ExprTemplates")
tpl.filename = folder & "\show.tpl"
Dim body, made
For Each body In Array("Len(<<X>>)", "Trim(<<X>>)")
  Set made = CreateObject("KXExpressionBuilder75.ExprTemplate")
  made.Name = Left(body, InStr(body, "(") - 1) : made.Body = body
  made.ExtractandAddParams
  made.ParameterbyIndex(1).DefaultValue = "^c"
  tpl.Add made
Next
tpl.WriteToFile
b.TemplateFile = folder & "\show.tpl"
found = Play(b, "ok", "UCase(b)", "tool:Template ""window:Expression Templates"" down Apply ""window:Show test""")
WScript.Echo "after a template: " & b.Expression
Call Check(found = "a And  Not ", "the window opened on Expression: " & found)
Call Check(b.Expression = "Trim(UCase(b))", "the picked template wraps the typed text: " & b.Expression)
Call Check(b.TemplateName = "Trim", "the applied template is remembered: " & b.TemplateName)

' Modeless: Show returns at once, with the window up and Expression untouched.
b.Expression = "x"
b.Show 0
Call Check(b.Expression = "x", "a modeless Show returns at once")

' ---- the prompt dialog while a template is applied: OK takes the answer, Cancel ends it
Dim list : Set list = CreateObject("KXExpressionBuilder75.ExpressionList")
Dim record : Set record = CreateObject("KXExpressionBuilder75.ExpressionInfo")
record.ExpressionKey = "k" : record.ExpressionText = "x" : record.ReplacedExpression = "before"
list.Add record
Dim t : Set t = CreateObject("KXExpressionBuilder75.ExprTemplate")
t.Name = "Cut" : t.Body = "Left(<<N>>, 2)"
t.ExtractandAddParams
t.ParameterValuebyName "N", "^?"
Set list.TemplateToUse = t
Call Start("Enter or Select Value", "cancel", "ignored", "")
list.ApplyTemplatetoStrings
Call Check(record.ReplacedExpression = "before", "Cancel in the prompt leaves the record: " & record.ReplacedExpression)
Call Start("Enter or Select Value", "ok", "[Name]", "")
list.ApplyTemplatetoStrings
Call Check(record.ReplacedExpression = "Left([Name], 2)", "the prompt's answer is filled in: " & record.ReplacedExpression)

' Wine's script host cannot always delete it; the prefix is made afresh for each run.
On Error Resume Next : shell.RegDelete kHostLibrary : On Error GoTo 0
If failures = 0 Then WScript.Echo "DONE"
