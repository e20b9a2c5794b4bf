// A script client in JScript: what it passes that VBScript does not, and a walk through nested containers.
// A line for each failure, then the counts; the exit status is the number of failures.
var checks = 0, failures = 0;

function Check(what, actual, expected) {
    ++checks;
    if (actual === expected)
        return;
    ++failures;
    WScript.Echo("FAILED " + what + ": " + typeof actual + " " + actual + ", expected " + typeof expected + " " + expected);
}

function NewArguments() { return new ActiveXObject("OrVexComArguments.ComArguments"); }
function NewArg() { return new ActiveXObject("OrVexComArguments.ComArg"); }

// What AddItem says to a value, and the text that the container then holds.
var values = [
    ["whole number", 5, true, "5"],
    ["largest whole number", 2147483647, true, "2147483647"],
    ["negative number", -7, true, "-7"],
    ["quotient", 7 / 2, false, ""],
    ["number beyond an int", 4294967296, false, ""],
    ["text", "abc", true, "abc"],
    ["text made by adding", "a" + 1, true, "a1"],
    ["empty text", "", false, ""],
    ["true", true, true, "1"],
    ["false", false, true, "0"],
    ["null", null, false, ""],
    ["undefined", undefined, false, ""],
    ["not a number", NaN, false, ""],
    ["array", [1, 2], false, ""],
    ["object", { a: 1 }, false, ""],
    ["function", Check, false, ""],
    ["date", new Date(2026, 2, 1), false, ""],
    ["object of another library", new ActiveXObject("Scripting.Dictionary"), false, ""]
];
for (var i = 0; i < values.length; ++i) {
    var row = values[i], bag = NewArguments();
    Check(row[0] + ", AddItem", bag.AddItem("k", row[1]), row[2]);
    Check(row[0] + ", NumElements", bag.NumElements(), row[2] ? 1 : 0);
    if (row[2])
        Check(row[0] + ", text", bag.GetValueString("k"), row[3]);
}

var keys = [
    ["number", 474, true, "MessageID"],
    ["name", "messageid", true, "MessageID"],
    ["own name", "own.key", true, "own.key"],
    ["quotient", 1.5, false, ""],
    ["number out of range", 732, false, ""],
    ["null", null, false, ""],
    ["undefined", undefined, false, ""],
    ["object", {}, false, ""]
];
for (i = 0; i < keys.length; ++i) {
    row = keys[i];
    bag = NewArguments();
    Check(row[0] + " key, AddItem", bag.AddItem(row[1], "v"), row[2]);
    if (row[2]) {
        Check(row[0] + " key", bag.GetElementKey(1), row[3]);
        Check(row[0] + " key, IsValid", bag.IsValid(row[1]), true);
        Check(row[0] + " key, GetValueString", bag.GetValueString(row[1]), "v");
    }
}

// Five containers in each other, and back out again by position.
var outer = NewArguments(), at = outer;
for (i = 1; i <= 5; ++i) {
    var next = NewArguments();
    next.AddItem("level", i);
    Check("AddItem of level " + i, at.AddItem("next", next), true);
    at = next;
}
at = outer;
for (i = 1; i <= 5; ++i) {
    at = at.GetElement(at.NumElements());
    Check("level " + i, at.GetValueInt("level"), i);
}
Check("class", at.GetClassID(), 6);
Check("past the end", outer.GetElement(9), undefined);
Check("missing array", outer.GetValueArray("missing"), null);

var arg = NewArg();
Check("SetValue", arg.SetValue("text"), true);
Check("SetValue, refused", arg.SetValue(undefined), false);
Check("DumpArg", arg.DumpArg(), "text");
Check("Clone", arg.Clone().GetValueString(), "text");
var thrown = false;
try {
    arg.GetValueArray();
} catch (e) {
    thrown = true;
}
Check("GetValueArray of a text throws", thrown, true);
thrown = false;
try {
    outer.NoSuchMethod();
} catch (e) {
    thrown = true;
}
Check("unknown method throws", thrown, true);

WScript.Echo("SUMMARY: JScript checks: " + checks + ", failures: " + failures);
WScript.Quit(failures);
