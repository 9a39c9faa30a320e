// Tries to lock a report, and tells why that failed or gives it back.
//   csc LockedBy.cs        (or a console project of .NET on Windows)
//   LockedBy CONNECTSTRING ROLE PASSWORD REPORT
//
// Binds late. With the type library (tlbimp Tarnwick.exe, or a COM reference of a project) the variables
// have the types of the library, and calls take their interfaces.

using System;
using System.Runtime.InteropServices;

static class LockedBy
{
    const int LockTimeout = 2; // a FailureKindEnum

    static int Main(string[] arguments)
    {
        if (arguments.Length != 4)
        {
            Console.Error.WriteLine("usage: LockedBy CONNECTSTRING ROLE PASSWORD REPORT");
            return 2;
        }
        dynamic server = Create("Tarnwick.Server");
        dynamic cause = Create("Tarnwick.LastCause");
        try
        {
            return Try(server, cause, arguments);
        }
        finally
        {
            // The server ends with the last reference to it, and must not wait for the collector.
            Marshal.FinalReleaseComObject((object)cause);
            Marshal.FinalReleaseComObject((object)server);
        }
    }

    static dynamic Create(string progId)
    {
        Type type = Type.GetTypeFromProgID(progId, throwOnError: true);
        return Activator.CreateInstance(type);
    }

    static int Try(dynamic server, dynamic cause, string[] arguments)
    {
        if (!server.SetConnection(arguments[0], arguments[1], arguments[2]) || !server.Refresh())
        {
            Console.Error.WriteLine((string)server.LastErrorMsg);
            return 1;
        }
        dynamic reports = server.Reports;
        if (!reports.Exists(arguments[3]))
        {
            Console.Error.WriteLine("There is no report '{0}' among {1}.", arguments[3], reports.Count);
            return 1;
        }
        dynamic report = reports.Item(arguments[3]);
        cause.Clear();
        if (report.LockRecord())
        {
            report.ReleaseRecord();
            Console.WriteLine("{0} is free.", (string)report.Name);
            return 0;
        }
        Console.WriteLine(cause.Kind == LockTimeout ? "{0} is held by somebody else."
                                                    : "{0} cannot be locked: {1}",
                          (string)report.Name, (string)cause.NativeText);
        return 1;
    }
}
