' A script client in VBScript: every method of both classes, with keys and values in every form that a script passes.
' A line for each failure, then the counts; the exit status is the number of failures.
Option Explicit

Dim nChecks, nFailures
nChecks = 0
nFailures = 0

Sub Check(what, actual, expected)
    Dim bSame
    nChecks = nChecks + 1
    bSame = (KindOf(actual) = VarType(expected))
    If bSame And Not IsEmpty(expected) And Not IsNull(expected) Then bSame = (actual = expected)
    If bSame Then Exit Sub
    nFailures = nFailures + 1
    WScript.Echo "FAILED " & what & ": " & VarType(actual) & " " & Shown(actual) & ", expected " & VarType(expected) & " " & Shown(expected)
End Sub

' Integers are kept as VT_INT, which scripts know as no type of theirs.
Function KindOf(v)
    KindOf = VarType(v)
    If KindOf = 22 Then KindOf = vbLong
End Function

Function Shown(v)
    If IsNull(v) Or IsEmpty(v) Then
        Shown = "-"
    Else
        Shown = CStr(v)
    End If
End Function

Function NewArguments()
    Set NewArguments = CreateObject("OrVexComArguments.ComArguments")
End Function

Function NewArg()
    Set NewArg = CreateObject("OrVexComArguments.ComArg")
End Function

' Values: what a fresh container says to AddItem and SetValue, and what it then holds at its only position.
Sub CheckValue(what, value, bTaken, expected)
    Dim bag, out
    Set bag = NewArguments()
    Check what & ", AddItem", bag.AddItem("k", value), bTaken
    Check what & ", NumElements", bag.NumElements(), -CLng(bTaken)
    If bTaken Then
        Check what & ", GetElement", bag.GetElement(1), expected
        Check what & ", SetValue", bag.SetValue("k", value), True
        Check what & ", SetElement", bag.SetElement(1, value), True
        Check what & ", again", bag.GetElement(1), expected
    Else
        bag.AddItem "k", CInt(7)
        Check what & ", SetValue", bag.SetValue("k", value), False
        Check what & ", SetElement", bag.SetElement(1, value), False
        Check what & ", untouched", bag.GetElement(1), CInt(7)
    End If
End Sub

Dim vInt, vText, vNothing, aValues(1), dictionary
vInt = 70000
vText = "by variable"
Set dictionary = CreateObject("Scripting.Dictionary")
CheckValue "constant", 5, True, CInt(5)
CheckValue "CInt", CInt(-3), True, CInt(-3)
CheckValue "CLng", CLng(70000), True, CLng(70000)
CheckValue "variable", vInt, True, CLng(70000)
CheckValue "CBool", CBool(1), True, True
CheckValue "false", False, True, False
CheckValue "text", "abc", True, "abc"
CheckValue "text by variable", vText, True, "by variable"
CheckValue "empty text", "", False, ""
CheckValue "Null", Null, False, ""
CheckValue "Empty", Empty, False, ""
CheckValue "Nothing", Nothing, False, ""
CheckValue "date", CDate("2026-03-01"), False, ""
CheckValue "double", 1.5, False, ""
CheckValue "single", CSng(1.5), False, ""
CheckValue "byte", CByte(5), False, ""
CheckValue "currency", CCur(5), False, ""
CheckValue "array", aValues, False, ""
CheckValue "object of another library", dictionary, False, ""

' Keys: what AddItem says to them, and the key that then stands at the only position.
Sub CheckKey(what, key, bTaken, expected)
    Dim bag
    Set bag = NewArguments()
    Check what & ", AddItem", bag.AddItem(key, "v"), bTaken
    Check what & ", NumElements", bag.NumElements(), -CLng(bTaken)
    If Not bTaken Then Exit Sub
    Check what & ", GetElementKey", bag.GetElementKey(1), expected
    Check what & ", GetValueString", bag.GetValueString(key), "v"
    Check what & ", RemoveItem", bag.RemoveItem(key), True
    Check what & ", RemoveItem again", bag.RemoveItem(key), False
    Check what & ", empty", bag.NumElements(), CLng(0)
End Sub

CheckKey "constant key", 474, True, "MessageID"
CheckKey "CLng key", CLng(474), True, "MessageID"
CheckKey "variable key", vText, True, "by variable"
CheckKey "keyword in small letters", "messageid", True, "MessageID"
CheckKey "text key", "own.key", True, "own.key"
CheckKey "first number", 0, True, "InvokeID"
CheckKey "last number", 731, True, NewKeyOf(731)
CheckKey "number out of range", 732, False, ""
CheckKey "negative number", -1, False, ""
CheckKey "empty key", "", False, ""
CheckKey "Null key", Null, False, ""
CheckKey "Empty key", Empty, False, ""
CheckKey "double key", 1.5, False, ""
CheckKey "boolean key", True, False, ""
CheckKey "date key", CDate("2026-03-01"), False, ""
CheckKey "object key", dictionary, False, ""
CheckKey "array key", aValues, False, ""

Function NewKeyOf(n)
    Dim bag
    Set bag = NewArguments()
    bag.AddItem n, 1
    NewKeyOf = bag.GetElementKey(1)
End Function

' Typed reads, presence, class, and what is missing.
Dim bag, inner, copy, arg, other, i, text
Set bag = NewArguments()
bag.Initialize
Check "class of a container", bag.GetClassID(), CLng(6)
bag.AddItem "MessageID", 9
bag.AddItem "AgentName", "Ann"
bag.AddItem "flag", True
Check "IsValid", bag.IsValid("MessageID"), True
Check "IsValid by number", bag.IsValid(CLng(474)), True
Check "IsValid of nothing", bag.IsValid("missing"), False
Check "GetValueInt", bag.GetValueInt("MessageID"), CLng(9)
Check "GetValueInt of a boolean", bag.GetValueInt("flag"), CLng(1)
Check "GetValueString", bag.GetValueString("AgentName"), "Ann"
Check "GetValueString of a number", bag.GetValueString("MessageID"), "9"
Check "GetValueBool", bag.GetValueBool("flag"), True
Check "missing int", bag.GetValueInt("missing"), CLng(0)
Check "missing bool", bag.GetValueBool("missing"), False
Check "missing text", bag.GetValueString("missing"), ""
Check "missing value", bag.GetValue("missing") Is Nothing, True
Check "missing array", bag.GetValueArray("missing") Is Nothing, True
Check "missing position", IsEmpty(bag.GetElement(9)), True
Check "missing key", bag.GetElementKey(9), ""

' Positions: keywords by number, then texts.
text = ""
For i = 1 To bag.NumElements()
    text = text & bag.GetElementKey(i) & "=" & bag.GetElement(i) & ";"
Next
Check "walk by position", text, "MessageID=9;AgentName=Ann;flag=True;"

' Nested containers are shared, clones are not.
Set inner = NewArguments()
inner.AddItem "Number", "4711"
Check "AddItem of a container", bag.AddItem("Party", inner), True
inner.AddItem "Name", "Bob"
Check "sharing", bag.GetValueArray("Party").NumElements(), CLng(2)
Check "sharing, by position", bag.GetElement(4).GetValueString("Name"), "Bob"
Set copy = bag.Clone()
inner.RemoveItem "Name"
Check "shared after the removal", bag.GetValueArray("Party").NumElements(), CLng(1)
Check "the clone is its own", copy.GetValueArray("Party").NumElements(), CLng(2)
copy.Clear
Check "Clear", copy.NumElements(), CLng(0)
Check "Clear of the clone alone", bag.NumElements(), CLng(4)
Check "DumpArgs", bag.DumpArgs(), "Arguments contains 4 Args " & vbCrLf & vbTab & "MessageID:eCallDeliveredEvent" & vbCrLf & vbTab & "AgentName:Ann" & _
    vbCrLf & vbTab & "flag:1" & vbCrLf & vbTab & "Party:(Number:4711)" & vbCrLf

' Values on their own.
Set arg = NewArg()
Check "class of a value", arg.GetClassID(), CLng(1)
Check "type of nothing", arg.GetType(), CLng(0)
Check "SetValue", arg.SetValue(CLng(12)), True
Check "type", arg.GetType(), CLng(1)
Check "GetValueInt of a value", arg.GetValueInt(), CLng(12)
Check "GetValueString of a value", arg.GetValueString(), "12"
Check "GetValueBool of a value", arg.GetValueBool(), True
Check "GetValue of a value", arg.GetValue(), CLng(12)
Check "DumpArg", arg.DumpArg(), "12"
Check "SetValue, refused", arg.SetValue(1.5), False
Check "SetValue, untouched", arg.GetValueInt(), CLng(12)
Set other = arg.Clone()
Check "SetValue of the clone", other.SetValue("text"), True
Check "the value is its own", arg.GetValueInt(), CLng(12)
Check "AddItem of a value", bag.AddItem("shared", arg), True
arg.SetValue "changed"
Check "the value is shared", bag.GetValueString("shared"), "changed"
Check "GetValue of a key", bag.GetValue("shared").GetValueString(), "changed"
On Error Resume Next
Set inner = arg.GetValueArray()
Check "GetValueArray of a text", Err.Number <> 0, True
Err.Clear
bag.NoSuchMethod
Check "unknown method", Err.Number, CLng(438)
Err.Clear
bag.AddItem "one argument"
Check "too few arguments", Err.Number <> 0, True
Err.Clear
On Error GoTo 0

WScript.Echo "SUMMARY: VBScript checks: " & nChecks & ", failures: " & nFailures
WScript.Quit nFailures
