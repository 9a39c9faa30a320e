// Gives a report another title.
//   cscript //nologo retitle.js CONNECTSTRING ROLE PASSWORD REPORT TITLE

var OK_ue = 0, RecordChanged_ue = 5;

function fail(text) {
    WScript.Echo(text);
    WScript.Quit(1);
}

if (WScript.Arguments.length != 5) fail("usage: retitle.js CONNECTSTRING ROLE PASSWORD REPORT TITLE");

var server = new ActiveXObject("Tarnwick.Server");
if (!server.SetConnection(WScript.Arguments(0), WScript.Arguments(1), WScript.Arguments(2)) ||
        !server.Refresh()) {
    fail(server.LastErrorMsg);
}

var name = WScript.Arguments(3);
if (!server.Reports.Exists(name)) {
    var names = [];
    for (var each = new Enumerator(server.Reports); !each.atEnd(); each.moveNext()) {
        names.push(each.item().Name);
    }
    fail("There is no report '" + name + "'. There are: " + names.join(", "));
}
var report = server.Reports.Item(name);
report.Title = WScript.Arguments(4);

var result = report.Update();
if (result == RecordChanged_ue) fail("Somebody else has changed the report meanwhile.");
if (result != OK_ue) fail(server.LastErrorMsg);
WScript.Echo(report.Name + ": " + report.Title);
