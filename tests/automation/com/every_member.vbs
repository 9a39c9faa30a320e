' Goes through every member of every class, as a script does.
'   cscript //nologo every_member.vbs CONNECTSTRING ROLE PASSWORD FOLDER
' FOLDER is an empty one, for the files that reports are made of. Says what is not as it should be, and
' in its last line how many values it looked at: scripts end without a word at an error.
Option Explicit

Dim checks
checks = 0

' Value and type have to be the same: a 16-bit number is no 32-bit number.
Sub Expect(name, actual, wanted)
    checks = checks + 1
    If VarType(actual) <> VarType(wanted) Then
        WScript.Echo name & " has the type " & VarType(actual) & ", not " & VarType(wanted)
    ElseIf actual <> wanted Then
        WScript.Echo name & " is '" & actual & "', not '" & wanted & "'"
    End If
End Sub

Sub ExpectNothing(name, actual)
    checks = checks + 1
    If Not actual Is Nothing Then WScript.Echo name & " is not Nothing"
End Sub

Sub ExpectType(name, actual, wanted)
    checks = checks + 1
    If VarType(actual) <> wanted Then WScript.Echo name & " has the type " & VarType(actual)
End Sub

Sub ExpectError(name, number, source, description)
    checks = checks + 1
    If Err.Number <> number Or Err.Source <> source Or Err.Description <> description Then
        WScript.Echo name & " failed with " & Err.Number & ", '" & Err.Source & "', '" & Err.Description & "'"
    End If
    Err.Clear
End Sub

Function KeysOf(records)
    Dim record
    KeysOf = ""
    For Each record In records
        KeysOf = KeysOf & record.Key & ";"
    Next
End Function

Function Twice(value)
    Twice = value & value
End Function

Dim day, later, mark
day = CDate(45000.5)
later = CDate(45001.25)
mark = Chr(254)

' Server
Dim server
Set server = CreateObject("Tarnwick.Server")
Expect "Server.SetConnection", server.SetConnection(WScript.Arguments(0), WScript.Arguments(1), WScript.Arguments(2)), True
Expect "Server.Initialized", server.Initialized, False
Expect "Server.Refresh", server.Refresh, True
Expect "Server.Initialized", server.Initialized, True
ExpectType "Server.LastErrorMsg", server.LastErrorMsg, vbString
ExpectType "Server.LastErrorNumber", server.LastErrorNumber, vbLong

' Components
Dim components, component, id, name
Set components = server.Components
Expect "Server.Components", components.Count, CLng(0)
id = 7
name = "Ledger"
Set component = components.Add(id, name, 3, 4, 5, True, 3, 1, "srv", "grp", "meta", "role")
Expect "Components.Add", component.Key, "C7"
ExpectNothing "Components.Add of a known id", components.Add(id, name, 3, 4, 5, True, 3, 1, "srv", "grp")
Expect "Component.Update", component.Update, CLng(0)
Expect "Components.Count", components.Count, CLng(1)
Expect "Components.Exists", components.Exists("c7"), True
Expect "Components.Exists", components.Exists("7"), False
Expect "Components.Refresh", components.Refresh, True
Expect "Components.Changed", components.Changed, True
Expect "Components.Initialized", components.Initialized, True
Set component = components.Item(1)
Expect "Components.Item", components("C7").Name, name
ExpectNothing "Components.Item", components.Item("C8")
Expect "Server.Components", server.Components(1).Name, name
Expect "Server.Components", server.Components("c7").Name, name
Expect "Components.NewEnum", KeysOf(components), "C7;"
Expect "Components.FindMetaID", KeysOf(components.FindMetaID("META")), ""
Expect "Components.AddCompObject", components.AddCompObject(CreateObject("Tarnwick.Component")), True
Expect "Components.AddCompObject", components.AddCompObject(component), False
Expect "Components.NewEnum", KeysOf(components), "C7;;"
ExpectType "Components.LastErrorMsg", components.LastErrorMsg, vbString
ExpectType "Components.LastErrorNumber", components.LastErrorNumber, vbLong

' Component
Expect "Component.CompID", component.CompID, 7
Expect "Component.Name", component.Name, "Ledger"
Expect "Component.ParentID", component.ParentID, 3
Expect "Component.Priority", component.Priority, 4
Expect "Component.ImageIndex", component.ImageIndex, 5
Expect "Component.ForceDisplay", component.ForceDisplay, True
Expect "Component.MaintenanceType", component.MaintenanceType, CLng(3)
Expect "Component.SecurityGroup", component.SecurityGroup, "grp"
Expect "Component.ReportCode", component.ReportCode, CLng(1)
Expect "Component.ServerName", component.ServerName, "srv"
Expect "Component.MetaID", component.MetaID, ""
Expect "Component.AuthorizedRole", component.AuthorizedRole, ""
Expect "Component.RowVersion", Len(component.RowVersion), CLng(16)
Expect "Component.SoftLock", component.SoftLock, ""
Expect "Component.Key", component.Key, "C7"
Expect "Component.Changed", component.Changed, True
Expect "Component.Initialized", component.Initialized, True
ExpectType "Component.Reports", component.Reports, vbEmpty
ExpectType "Component.LastErrorMsg", component.LastErrorMsg, vbString
ExpectType "Component.LastErrorNumber", component.LastErrorNumber, vbLong
Expect "Component.PCs", component.PCs.Count, CLng(0)
Expect "Component.Refresh", component.Refresh, False
Expect "Component.LockRecord", component.LockRecord, True
Expect "Component.Locked", component.Locked, True
Expect "Component.ReleaseRecord", component.ReleaseRecord, True
Expect "Component.Locked", component.Locked, False

' RegisteredPCs
Dim pcs, pc, mac
Set pcs = server.RegisteredPCs
Expect "Server.RegisteredPCs", pcs.Count, CLng(0)
mac = "00-11"
Set pc = pcs.Add(mac, id, "PC-1", "me", day, , , 4, "user", later, "12")
Expect "RegisteredPCs.Add", pc.Key, mac & mark & "PC-1" & mark & "7"
Expect "RegisteredPC.Update", pc.Update, CLng(0)
Expect "RegisteredPCs.Count", pcs.Count, CLng(1)
Expect "RegisteredPCs.Exists", pcs.Exists(pc.Key), True
Expect "RegisteredPCs.Refresh", pcs.Refresh, True
Expect "RegisteredPCs.Changed", pcs.Changed, False
Expect "RegisteredPCs.Initialized", pcs.Initialized, True
Set pc = pcs.Item(1)
Expect "RegisteredPCs.Item", pcs(pc.Key).ComputerID, "PC-1"
Expect "RegisteredPCs.NewEnum", KeysOf(pcs), pc.Key & ";"
Expect "RegisteredPCs.AddPCObject", pcs.AddPCObject(pc), False
ExpectType "RegisteredPCs.LastErrorMsg", pcs.LastErrorMsg, vbString
ExpectType "RegisteredPCs.LastErrorNumber", pcs.LastErrorNumber, vbLong
On Error Resume Next
pcs.Item "nobody"
ExpectError "RegisteredPCs.Item of an unknown key", 5, "Tarnwick.RegisteredPCs", "Invalid procedure call or argument"
pcs.Item 2
ExpectError "RegisteredPCs.Item behind the last", 9, "Tarnwick.RegisteredPCs", "Subscript out of range"
pcs.Exists Null
ExpectError "RegisteredPCs.Exists of Null", 94, "Tarnwick.RegisteredPCs", "Invalid use of Null"
On Error Goto 0
Expect "Component.PCs", KeysOf(component.PCs), pc.Key & ";"
Expect "Component.PCs", component.PCs(1).MACNumber, mac
Expect "Component.PCs", component.PCs.Item(pc.Key).MACNumber, mac

' RegisteredPC
Expect "RegisteredPC.MACNumber", pc.MACNumber, mac
Expect "RegisteredPC.ComputerID", pc.ComputerID, "PC-1"
Expect "RegisteredPC.CompID", pc.CompID, 7
Expect "RegisteredPC.MaintenanceType", pc.MaintenanceType, CLng(5)
Expect "RegisteredPC.Active", pc.Active, True
Expect "RegisteredPC.ImageIndex", pc.ImageIndex, 4
Expect "RegisteredPC.LastUser", pc.LastUser, "user"
Expect "RegisteredPC.LastLogin", pc.LastLogin, later
Expect "RegisteredPC.TotalLogins", pc.TotalLogins, CLng(12)
Expect "RegisteredPC.ActivatedBy", pc.ActivatedBy, "me"
Expect "RegisteredPC.ActivateDate", pc.ActivateDate, day
Expect "RegisteredPC.DeActivatedBy", pc.DeActivatedBy, ""
Expect "RegisteredPC.DeActivatedDate", pc.DeActivatedDate, CDate(0)
Expect "RegisteredPC.SoftLock", pc.SoftLock, ""
Expect "RegisteredPC.RowVersion", Len(pc.RowVersion), CLng(16)
Expect "RegisteredPC.SoftwareVersion", pc.SoftwareVersion, ""
Expect "RegisteredPC.Changed", pc.Changed, False
Expect "RegisteredPC.Initialized", pc.Initialized, True
ExpectType "RegisteredPC.LastErrorMsg", pc.LastErrorMsg, vbString
ExpectType "RegisteredPC.LastErrorNumber", pc.LastErrorNumber, vbLong
Expect "RegisteredPC.LockRecord", pc.LockRecord, True
Expect "RegisteredPC.Locked", pc.Locked, True
Expect "RegisteredPC.ReleaseRecord", pc.ReleaseRecord, True
Expect "RegisteredPC.Refresh", pc.Refresh, True
pc.MACNumber = "00-22"
pc.ComputerID = "PC-2"
pc.CompID = "8"
pc.MaintenanceType = 1
pc.Active = False
pc.ImageIndex = 6
pc.LastUser = Empty
pc.LastLogin = day
pc.TotalLogins = pc.TotalLogins + 1
pc.ActivatedBy = name
pc.ActivateDate = later
pc.DeActivatedBy = "you"
pc.DeActivatedDate = later
pc.SoftwareVersion = 1
Expect "RegisteredPC.MACNumber", pc.MACNumber, "00-22"
Expect "RegisteredPC.ComputerID", pc.ComputerID, "PC-2"
Expect "RegisteredPC.CompID", pc.CompID, 8
Expect "RegisteredPC.MaintenanceType", pc.MaintenanceType, CLng(1)
Expect "RegisteredPC.Active", pc.Active, False
Expect "RegisteredPC.ImageIndex", pc.ImageIndex, 6
Expect "RegisteredPC.LastUser", pc.LastUser, ""
Expect "RegisteredPC.LastLogin", pc.LastLogin, day
Expect "RegisteredPC.TotalLogins", pc.TotalLogins, CLng(13)
Expect "RegisteredPC.ActivatedBy", pc.ActivatedBy, "Ledger"
Expect "RegisteredPC.ActivateDate", pc.ActivateDate, later
Expect "RegisteredPC.DeActivatedBy", pc.DeActivatedBy, "you"
Expect "RegisteredPC.DeActivatedDate", pc.DeActivatedDate, later
Expect "RegisteredPC.SoftwareVersion", pc.SoftwareVersion, "1"
Expect "RegisteredPC.Key", pc.Key, "00-22" & mark & "PC-2" & mark & "8"
Expect "RegisteredPC.Changed", pc.Changed, True
Expect "RegisteredPC.Update", pc.Update, CLng(0)
Expect "Server.Refresh", server.Refresh, True
Expect "RegisteredPC.Delete", pcs(1).Delete, True
Expect "RegisteredPCs.Count", pcs.Count, CLng(0)

' Reports
Dim reports, report, folder, files, file
folder = WScript.Arguments(3)
Set files = CreateObject("Scripting.FileSystemObject")
Set file = files.CreateTextFile(folder & "\orders.rpt")
file.Write "the report"
file.Close
Set file = files.CreateTextFile(folder & "\fields.ttx")
file.Write "the fields"
file.Close
Set reports = server.Reports
Expect "Server.Reports", reports.Count, CLng(0)
Set report = reports.Add("Orders", "Title", "Author", day, "1.0", "G", 11, "Select", "", 1, "Text", 4, "", "Definition")
Expect "Reports.Add", report.Key, "Orders"
Expect "Report.ImportTTX", report.ImportTTX(folder & "\fields.ttx"), True
Expect "Report.Update", report.Update(folder & "\orders.rpt"), CLng(0)
Expect "Reports.Count", reports.Count, CLng(1)
Expect "Reports.Exists", reports.Exists("ORDERS"), True
Expect "Reports.Refresh", reports.Refresh, True
Expect "Reports.Changed", reports.Changed, False
Expect "Reports.Initialized", reports.Initialized, True
Expect "Reports.ValidObject", reports.ValidObject, True
Set report = reports.Item("orders")
Expect "Reports.Item", reports(1).Name, "Orders"
ExpectNothing "Reports.Item", reports.Item(2)
Expect "Reports.NewEnum", KeysOf(reports), "Orders;"
Expect "Reports.AddReportObject", reports.AddReportObject(report), False
ExpectType "Reports.LastErrorMsg", reports.LastErrorMsg, vbString
ExpectType "Reports.LastErrorNumber", reports.LastErrorNumber, vbLong

' Report
Expect "Report.Name", report.Name, "Orders"
Expect "Report.Key", report.Key, "Orders"
Expect "Report.Title", report.Title, "Title"
Expect "Report.Author", report.Author, "Author"
Expect "Report.Created", report.Created, day
Expect "Report.Version", report.Version, "1.0"
Expect "Report.ReportGroupID", report.ReportGroupID, "G"
Expect "Report.ImageIndex", report.ImageIndex, 11
Expect "Report.SQL", report.SQL, "Select"
Expect "Report.TTX", report.TTX, "the fields"
Expect "Report.ReportType", report.ReportType, CLng(1)
Expect "Report.ReportTypeAsString", report.ReportTypeAsString, "CRY"
Expect "Report.GetReportTypeFromString", report.GetReportTypeFromString("cry"), CLng(1)
Expect "Report.Description", report.Description, "Text"
Expect "Report.MaintenanceType", report.MaintenanceType, CLng(4)
Expect "Report.Definition", report.Definition, "Definition"
Expect "Report.RowVersion", Len(report.RowVersion), CLng(16)
Expect "Report.SoftLock", report.SoftLock, ""
Expect "Report.Changed", report.Changed, False
Expect "Report.Initialized", report.Initialized, True
ExpectType "Report.LastErrorMsg", report.LastErrorMsg, vbString
ExpectType "Report.LastErrorNumber", report.LastErrorNumber, vbLong
Expect "Report.Refresh", report.Refresh, False
Expect "Report.LockRecord", report.LockRecord, True
Expect "Report.Locked", report.Locked, True
Expect "Report.ReleaseRecord", report.ReleaseRecord, True
Expect "Report.ReleaseRecord", report.ReleaseRecord, False
Expect "Report.ExtractTTX", report.ExtractTTX(folder & "\extracted.any"), True
Expect "Report.ExtractTTX", files.OpenTextFile(folder & "\extracted.ttx").ReadAll, "the fields"
Expect "Report.ExtractReport", report.ExtractReport(folder & "\extracted.rpt"), True
Expect "Report.ExtractReport", files.OpenTextFile(folder & "\extracted.rpt").ReadAll, "the report"
report.Title = Twice("t")
report.Author = "a"
report.Created = later
report.Version = 2
report.ReportGroupID = "H"
report.ImageIndex = "12"
report.SQL = "s"
report.TTX = "x"
report.ReportType = 0
report.Description = "d"
report.MaintenanceType = 0
report.Definition = "def"
report.Name = "Sales"
Expect "Report.Title", report.Title, "tt"
Expect "Report.Author", report.Author, "a"
Expect "Report.Created", report.Created, later
Expect "Report.Version", report.Version, "2"
Expect "Report.ReportGroupID", report.ReportGroupID, "H"
Expect "Report.ImageIndex", report.ImageIndex, 12
Expect "Report.SQL", report.SQL, "s"
Expect "Report.TTX", report.TTX, "x"
Expect "Report.ReportType", report.ReportType, CLng(0)
Expect "Report.ReportTypeAsString", report.ReportTypeAsString, ""
Expect "Report.Description", report.Description, "d"
Expect "Report.MaintenanceType", report.MaintenanceType, CLng(0)
Expect "Report.Definition", report.Definition, "def"
Expect "Report.Name", report.Name, "Sales"
Expect "Report.Changed", report.Changed, True
Expect "Report.Update", report.Update, CLng(0)
Expect "Server.Refresh", server.Refresh, True
Expect "Reports.NewEnum", KeysOf(reports), "Sales;"
Expect "Report.Delete", reports(1).Delete, True
Expect "Reports.Count", reports.Count, CLng(0)
Expect "Component.Delete", components(1).Delete, False

WScript.Echo checks & " values"
