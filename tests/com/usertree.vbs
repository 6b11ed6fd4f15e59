' usertreeentry and usertreeentries through the script host: lists from and to script
' arrays, the piped form, out-of-range items, and the collection's exact keys.
Option Explicit
Dim failures : failures = 0
Sub Check(ok, what)
  If Not ok Then
    WScript.Echo "FAIL: " & what
    failures = failures + 1
  End If
End Sub
Function NewEntry(key, items)
  Dim e : Set e = CreateObject("KXExpressionBuilder75.usertreeentry")
  e.NodeKey = key
  e.NodeName = "Name of " & key
  e.ParentKey = "P"
  e.SetList items
  Set NewEntry = e
End Function

Dim n, e : Set e = CreateObject("KXExpressionBuilder75.usertreeentry")
e.ParentKey = "p" : e.NodeName = "n" : e.NodeKey = "k"
Call Check(e.ParentKey & e.NodeName & e.NodeKey = "pnk", "the three texts keep their values")
Call Check(e.ListCount = 0 And e.ListItem(0) = "", "a new entry has no list")
Call Check(e.SetList(Array("a", "", "c")) = 0, "SetList returns 0")
Call Check(e.ListCount = 3 And e.ListItem(2) = "c" And e.ListItem(1) = "", "three items, one empty")
Call Check(e.ListItem(-1) = "" And e.ListItem(3) = "", "items outside the list are empty")
On Error Resume Next : n = e.ListItem(40000) : n = Err.Number : On Error GoTo 0
Call Check(n = 6, "ListItem takes a 16-bit index: 6")
Call Check(e.GetListAsPipedString = "a||c", "piped form: " & e.GetListAsPipedString)
Dim items
Call Check(e.GetList(items) = 0, "GetList returns 0")
Call Check(IsArray(items), "GetList fills the script's variable with an array")
Call Check(UBound(items) = 2 And items(0) = "a" And items(2) = "c", "GetList copies every item")
Dim numbers(1) : numbers(0) = 7 : numbers(1) = True
e.SetList numbers
Call Check(e.GetListAsPipedString = "7|True", "variants become text: " & e.GetListAsPipedString)
On Error Resume Next : e.SetList "not an array" : n = Err.Number : On Error GoTo 0
Call Check(n = 13, "SetList of a text: 13")

' ---- the collection: exact keys, the first entry wins, positions and keys
Dim list : Set list = CreateObject("KXExpressionBuilder75.usertreeentries")
Dim first : Set first = NewEntry("K", Array("1"))
Call Check(list.Add(first) Is first, "Add returns the added entry")
Call Check(list.Add(NewEntry("K", Array("2"))) Is first, "a second entry under a present key is dropped")
Dim lower : Set lower = NewEntry("k", Array("3"))
list.Add lower
Call Check(list.Count = 2, "keys differing in case are different entries")
Call Check(list.Item(1) Is first And list.Item("k") Is lower And list("K") Is first, "Item by position and key")
Call Check(list.Item("") Is Nothing And list.Item("x") Is Nothing, "Item of an empty or missing key: Nothing")
Dim keys, entry
For Each entry In list
  keys = keys & entry.NodeKey & "=" & entry.GetListAsPipedString & ";"
Next
Call Check(keys = "K=1;k=3;", "For Each in order: " & keys)
list.Delete "missing"
Call Check(list.Count = 2, "Delete of a missing key is no error")
list.Delete 1
Call Check(list.Count = 1 And list.Item(1) Is lower, "Delete by position")
On Error Resume Next : list.Add Nothing : n = Err.Number : On Error GoTo 0
Call Check(n = 91, "Add of Nothing: 91")

If failures = 0 Then WScript.Echo "DONE" Else WScript.Quit 1
