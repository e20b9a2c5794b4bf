// Fills a message, reads it back and walks over it. Build for the width of the component that is installed:
//   csc /platform:x64 fill.cs        (or x86)
using System;

static class Fill
{
    static void Main()
    {
        dynamic message = Activator.CreateInstance(Type.GetTypeFromProgID("OrVexComArguments.ComArguments", true));
        message.AddItem("MessageID", 9);                  // a keyword by name, in any case of letters
        message.AddItem(0, 5);                            // or by its number: InvokeID
        message.AddItem("user.crm.ticket", "T-817");      // and a key of one's own

        dynamic agents = Activator.CreateInstance(Type.GetTypeFromProgID("OrVexComArguments.ComArguments", true));
        agents.AddItem("first", 1001);
        agents.AddItem("second", 1002);
        message.AddItem("Agents", agents);

        Console.WriteLine(message.DumpArgs());
        Console.WriteLine("ticket: " + message.GetValueString("user.crm.ticket"));
        for (int i = 1; i <= message.NumElements(); ++i)
            Console.WriteLine(i + ": " + message.GetElementKey(i));
    }
}
