' The rows of a collection in one go, as a script takes them: a heading, a line for each row, and what
' else an object of the class tells. The caller has connected.
Option Explicit

Dim server, rows, pcs, names, table, values, keys, seen, pc, place, row
Set server = CreateObject("Tarnwick.Server")
Set rows = CreateObject("Tarnwick.Rows")
Set pcs = server.RegisteredPCs
pcs.Refresh

names = rows.Properties(pcs)
For place = 0 To UBound(names)
  If names(place) = "CompID" Then Exit For
Next
WScript.Echo names(0) & " " & names(place)
table = rows.GetRows(pcs, 1, 100)
For row = 0 To UBound(table, 1)
  WScript.Echo table(row, 0) & " " & table(row, place)
Next
WScript.Echo UBound(rows.GetRows(pcs, 3, 100), 1)

Set pc = pcs.Item(1)
values = rows.Read(pc)
WScript.Echo values(0)
seen = rows.Look(pc)
WScript.Echo seen(0) & " " & seen(1) & " [" & seen(2) & "] " & seen(3)
WScript.Echo rows.Insert(pc)
pc.ReleaseRecord
keys = rows.FindPCs("02-b")
WScript.Echo UBound(keys, 1) & " " & keys(0, 0) & " " & keys(0, 1) & " " & keys(0, 2)
WScript.Echo UBound(rows.ReportFiles, 1)

On Error Resume Next
rows.Look Nothing
WScript.Echo Err.Number & " " & Err.Description
rows.Read server
WScript.Echo Err.Number
