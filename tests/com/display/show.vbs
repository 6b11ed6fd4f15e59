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
Dim seen : seen = folder & "\seen.txt"

' Starts the driver, shows the window modally and returns what the editor held when shown.
Function Play(b, button, typed)
  If fs.FileExists(seen) Then fs.DeleteFile seen
  shell.Run """" & driver & """ """ & b.FormTitle & """ " & button & " """ & typed & """ """ & seen & """", 0, False
  b.Show 1
  If fs.FileExists(seen) Then
    Play = fs.OpenTextFile(seen).ReadAll
  Else
    Play = "(the driver saw no window)"
  End If
End Function

' The host's function library, where a builder made from now on finds it.
Const kHostLibrary = "HKCR\CLSID\{43A5AC4D-ACB7-11D3-96C0-00104B383C01}\InprocServer32\"
shell.RegWrite kHostLibrary, folder & "\kx750ui_fn.dll"

Dim b : Set b = CreateObject("KXExpressionBuilder75.ExpressionBuilder")
Call Check(LCase(b.KXTypeLibPath) = LCase(folder & "\kx750ui_fn.dll"), "KXTypeLibPath from the registry: " & b.KXTypeLibPath)
b.FormTitle = "Show test"
b.Expression = "Trim(a)"
b.KXExpressionBuilder_BuildTree

Dim found
found = Play(b, "ok", "UCase(b) + 1")
WScript.Echo "after OK: " & b.Expression
Call Check(found = "Trim(a)", "the window opened on Expression: " & found)
Call Check(b.Expression = "UCase(b) + 1", "OK hands the typed text back")

found = Play(b, "cancel", "thrown away")
WScript.Echo "after Cancel: " & b.Expression
Call Check(found = "UCase(b) + 1", "the second Show starts from the current Expression: " & found)
Call Check(b.Expression = "UCase(b) + 1", "Cancel leaves Expression as it was")

' Modeless: Show returns at once, with the window up and Expression untouched.
b.Expression = "x"
b.Show 0
Call Check(b.Expression = "x", "a modeless Show returns at once")

' Wine's script host cannot always delete it; the prefix is made afresh for each run.
On Error Resume Next : shell.RegDelete kHostLibrary : On Error GoTo 0
If failures = 0 Then WScript.Echo "DONE"
