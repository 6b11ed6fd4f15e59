' The walkers and write-back over a host written in the script itself: source and target
' sides, event and action collections as script classes reached by name (a collection's
' default member, an event's Actions as a plain collection property), write-back through a
' property with an index, and a combo of the script's own.
Option Explicit
Dim failures : failures = 0
Sub Check(ok, what)
  If Not ok Then
    WScript.Echo "FAIL: " & what
    failures = failures + 1
  End If
End Sub
Class Coll
  Public Items
  Public Default Function Item(i)
    Set Item = Items(i)
  End Function
  Public Property Get Count
    Count = UBound(Items) + 1
  End Property
End Class
Class Desc
  Public Name
  Public MaxParameterCount
  Public Names
  Public Types
  Public Function ParameterName(p)
    ParameterName = Names(p)
  End Function
  Public Function ParameterType(p)
    ParameterType = Types(p)
  End Function
End Class
Class Act
  Public Info
  Public Params
  Public Property Get Parameter(p)
    Parameter = Params(p)
  End Property
  Public Property Let Parameter(p, v)
    Params(p) = v
  End Property
End Class
Class Ev
  Public Info
  Public Actions
End Class
Function NewColl(items)
  Set NewColl = New Coll
  NewColl.Items = items
End Function
Function NewAction(name, names, types, params)
  Set NewAction = New Act
  Set NewAction.Info = New Desc
  NewAction.Info.Name = name
  NewAction.Info.MaxParameterCount = UBound(names) + 1
  NewAction.Info.Names = names
  NewAction.Info.Types = types
  NewAction.Params = params
End Function
Function NewEvent(name, actions)
  Set NewEvent = New Ev
  Set NewEvent.Info = New Desc
  NewEvent.Info.Name = name
  Set NewEvent.Actions = NewColl(actions)
End Function
Class Source
  Public SpokeTypeName
  Public RecordLayoutPos
  Public FieldPos
  Public FilterPos
  Public SortFieldPos
  Public SourceEvents
  Public Monitors
  Public Names
  Public Fields
  Public LayoutEvents
  Public Property Get RecordLayoutCount
    RecordLayoutCount = UBound(Names) + 1
  End Property
  Public Property Get RecordLayoutName
    RecordLayoutName = Names(RecordLayoutPos)
  End Property
  Public Property Get RecordLayoutIndex
    RecordLayoutIndex = RecordLayoutPos
  End Property
  Public Property Get RecordLayoutEvents
    Set RecordLayoutEvents = LayoutEvents(RecordLayoutPos)
  End Property
  Public Property Get FieldCount
    FieldCount = UBound(Fields(RecordLayoutPos)) + 1
  End Property
  Public Property Get fieldname
    fieldname = Fields(RecordLayoutPos)(FieldPos)
  End Property
  Public Property Get DataChangeMonitor(m)
    DataChangeMonitor = Monitors(RecordLayoutPos)(m)
  End Property
  Public Property Let DataChangeMonitor(m, v)
    Dim row : row = Monitors(RecordLayoutPos)
    row(m) = v
    Monitors(RecordLayoutPos) = row
  End Property
  Public Property Get FilterCount
    FilterCount = 0
  End Property
  Public Property Get SortFieldCount
    SortFieldCount = 0
  End Property
End Class


Class Target
  Public SpokeTypeName
  Public RecordLayoutPos
  Public FieldPos
  Public FilterPos
  Public Exprs
  Public Imported
  Public Property Get RecordLayoutCount
    RecordLayoutCount = 1
  End Property
  Public Property Get RecordLayoutName
    RecordLayoutName = "Out"
  End Property
  Public Property Get FieldCount
    FieldCount = UBound(Exprs) + 1
  End Property
  Public Property Get fieldname
    fieldname = "F" & FieldPos
  End Property
  Public Property Get FieldExpression
    FieldExpression = Exprs(FieldPos)
  End Property
  Public Property Let FieldExpression(v)
    Exprs(FieldPos) = v
  End Property
  Public Property Get FilterCount
    FilterCount = 1
  End Property
  Public Property Get FilterExpression
    FilterExpression = "T" & FilterPos
  End Property
  Public Property Get CodeModuleList
    CodeModuleList = ""
  End Property
End Class

Class Combo
  Public Items
  Public Sub AddItem(text)
    Items = Items & text & ";"
  End Sub
End Class

Dim n, r
Dim src : Set src = New Source
src.SpokeTypeName = "Delimited"
src.RecordLayoutPos = 0
src.Names = Array("In", "Two")
src.Fields = Array(Array("A", "B"), Array("C"))
src.Monitors = Array(Array("x", "", "", "", "y"), Array("", "", "z", "", ""))
src.LayoutEvents = Array(NewColl(Array(NewEvent("OnRead", Array(NewAction("Log", Array("Msg", "Level"), Array(2, 1), Array("""hi""", "3")))))), NewColl(Array()))
Set src.SourceEvents = NewColl(Array(NewEvent("Start", Array(NewAction("Run", Array("Expr"), Array(2), Array("Now()"))))))
Dim trg : Set trg = New Target
trg.SpokeTypeName = "ODBC"
trg.Exprs = Array("1", "", "Trim(x)")

Dim list : Set list = CreateObject("KXExpressionBuilder75.ExpressionList")
Set list.SourceControl = src
Set list.TargetControl = trg
Call Check(list.SourceControl Is src, "the script's object reads back as itself")
list.BuildDataChangeMonitorExpressionList
list.BuildSourceRLEventExpressionList False
list.BuildSourceEventExpressionList True
list.BuildTargetFieldExpressionList
Dim listed
For Each r In list
  listed = listed & r.ExpressionType & "|" & Replace(r.ExpressionKey, Chr(27), "/") & "|" & r.Description & "|" & r.ExpressionText & vbLf
Next
Dim expected : expected = _
  "1|s0/rl0/dcm0|Record (0), Data Change Monitor (0)|x" & vbLf & _
  "1|s0/rl0/dcm4|Record (0), Data Change Monitor (4)|y" & vbLf & _
  "1|s0/rl1/dcm2|Record (1), Data Change Monitor (2)|z" & vbLf & _
  "4|srl0/e0/a0/p0|Source Record (In), Event1: OnRead, Action1: Log, Parameter1: Msg|""hi""" & vbLf & _
  "4|srl0/e0/a0/p1|Source Record (In), Event1: OnRead, Action1: Log, Parameter2: Level|3" & vbLf & _
  "2|se0/a0/p0|Source Event1: Start, Action1: Run, Parameter1: Expr|Now()" & vbLf & _
  "8|trl0/f0|Target Record (Out) Field (F0)|1" & vbLf & _
  "8|trl0/f2|Target Record (Out) Field (F2)|Trim(x)" & vbLf
Call Check(listed = expected, "the walkers over the script's host listed:" & vbLf & listed)

' Write-back: an indexed property, an action parameter, a plain property.
Set r = list.Item(3)
r.ReplacedExpression = "zz"
list.ReplaceExpressionInVBX 3
Call Check(src.DataChangeMonitor(2) = "zz" And src.RecordLayoutPos = 1, "a monitor written back")
Set r = list.Item(6)
r.ReplacedExpression = "Later()"
list.ReplaceExpressionInVBX 6
Dim coll, ev, acts, act
Set coll = src.SourceEvents : Set ev = coll.Item(0) : Set acts = ev.Actions : Set act = acts.Item(0)
Call Check(act.Parameter(0) = "Later()", "an action parameter written back")
Set r = list.Item(8)
r.ReplacedExpression = "UCase(x)"
list.ReplaceExpressionInVBX 8
Call Check(trg.Exprs(2) = "UCase(x)", "a target field written back")

' A member the host lacks, and an error the host raises, reach the caller.
Set list.TargetControl = New Combo
On Error Resume Next : list.BuildTargetFilterExpressionList : n = Err.Number : On Error GoTo 0
Call Check(n = 438, "a member the host lacks: 438, not " & n)

Dim box : Set box = New Combo
src.RecordLayoutPos = 1
list.BuildRecordFieldComboDropDownList box
Call Check(box.Items = "Records(""In"").Fields(""A"");Records(""In"").Fields(""B"");Records(""Two"").Fields(""C"");", _
  "the combo got every field: " & box.Items)

If failures = 0 Then WScript.Echo "DONE" Else WScript.Quit 1
