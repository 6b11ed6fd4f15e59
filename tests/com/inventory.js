// The classes from JScript: enumerators over a list and a template set, errors as exceptions
// with the run-time's numbers, JScript arrays as lists, numbers as positions or keys, and a
// JScript object as the combo of BuildRecordFieldComboDropDownList.
var failures = 0;
function check(ok, what) {
  if (!ok) {
    WScript.Echo("FAIL: " + what);
    failures++;
  }
}
// The run-time error number an exception carries (0 when none is thrown).
function errorOf(f) {
  try {
    f();
  } catch (e) {
    return e.number & 0xFFFF;
  }
  return 0;
}
var folder = WScript.Arguments(0);

var doc = new ActiveXObject("kxexpr.ConversionDocument");
doc.Load(folder + "\\sample-conversion.json");
var list = new ActiveXObject("KXExpressionBuilder75.ExpressionList");
list.SourceControl = doc.Source;
list.TargetControl = doc.Target;
list.BuildSourceFilterExpressionList();
list.BuildDataChangeMonitorExpressionList();
check(list.Count() === 6, "2 filters and 4 monitors, not " + list.Count());
check(errorOf(function () { list.BuildTargetFilterExpressionList(); }) === 457,
      "the target filter's key is taken: 457");

var keys = [];
for (var en = new Enumerator(list); !en.atEnd(); en.moveNext())
  keys.push(en.item().ExpressionKey.replace(/\x1b/g, "/"));
check(keys.join(",") === "sfilt0,sfilt1,s0/rl0/dcm0,s0/rl1/dcm0,s0/rl1/dcm2,s0/rl2/dcm4",
      "Enumerator in list order: " + keys.join(","));

// JScript numbers are 32-bit: a position for Item, a key text for Delete.
check(list.Item(2).ExpressionKey === "sfilt1", "Item(2) is the second record");
list.Delete(2);
check(list.Count() === 6, "Delete(2) takes 2 as a key and removes nothing");
list.Delete("sfilt1");
check(list.Count() === 5 && list.Item("sfilt1") === null, "Delete by key");
check(errorOf(function () { list.ReplaceExpressionInVBX(99); }) === 9, "past the end: 9");

var info = list.Item(1);
check(info.IsSelected === false, "booleans arrive as JScript booleans");
info.IsSelected = true;
check(info.IsSelected === true, "and go back");
try {
  list.ReplaceExpressionInVBX(99);
} catch (e) {
  check(e.description === "Subscript out of range", "the platform's description: " + e.description);
}

var combo = { items: [], AddItem: function (text) { this.items.push(text); } };
list.BuildRecordFieldComboDropDownList(combo);
check(combo.items.length === 15 && combo.items[14] === 'Records("OrderLine").Fields("UnitPrice")',
      "a JScript combo got every source field: " + combo.items.length);

var entry = new ActiveXObject("KXExpressionBuilder75.usertreeentry");
entry.SetList(["x", "", "z", 4]);
check(entry.ListCount === 4 && entry.GetListAsPipedString === "x||z|4",
      "a JScript array as a list: " + entry.GetListAsPipedString);

var set = new ActiveXObject("KXExpressionBuilder75.ExprTemplates");
set.filename = folder + "\\sample.tpl";
var names = [];
for (var t = new Enumerator(set); !t.atEnd(); t.moveNext()) names.push(t.item().Name);
check(names.length === 7 && names[6] === "LookupField", "Enumerator over a template set");
var p = set.Item("PadCode").ParameterbyIndex(1);
check(p.Name === "Length" && p.Value === "10", "a parameter of a template found by name");
check(errorOf(function () { set.Item(1).ParameterbyIndex(0); }) === 9, "ParameterbyIndex(0): 9");

if (failures === 0) WScript.Echo("DONE");
else WScript.Quit(1);
