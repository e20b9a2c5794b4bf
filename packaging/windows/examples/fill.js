// Fills a message, reads it back and walks over it:  cscript //nologo fill.js
var message = new ActiveXObject("OrVexComArguments.ComArguments");
message.AddItem("MessageID", 9);                  // a keyword by name, in any case of letters
message.AddItem(0, 5);                            // or by its number: InvokeID
message.AddItem("user.crm.ticket", "T-817");      // and a key of one's own

var agents = new ActiveXObject("OrVexComArguments.ComArguments");
agents.AddItem("first", 1001);
agents.AddItem("second", 1002);
message.AddItem("Agents", agents);

WScript.Echo(message.DumpArgs());
WScript.Echo("ticket: " + message.GetValueString("user.crm.ticket"));
for (var i = 1; i <= message.NumElements(); ++i)
    WScript.Echo(i + ": " + message.GetElementKey(i));
