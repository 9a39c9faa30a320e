' Lists the components of a database and the PCs that use each.
'   cscript //nologo components.vbs CONNECTSTRING ROLE PASSWORD
Option Explicit

Dim server, component, pc
If WScript.Arguments.Count <> 3 Then
    WScript.Echo "usage: components.vbs CONNECTSTRING ROLE PASSWORD"
    WScript.Quit 2
End If

Set server = CreateObject("Tarnwick.Server")
If Not server.SetConnection(WScript.Arguments(0), WScript.Arguments(1), WScript.Arguments(2)) Then Fail
If Not server.Refresh Then Fail

For Each component In server.Components
    WScript.Echo component.Key & " " & component.Name
    For Each pc In component.PCs
        WScript.Echo "  " & pc.ComputerID & " (" & pc.MACNumber & "), logins: " & pc.TotalLogins
    Next
Next
WScript.Echo server.Components.Count & " components"

Sub Fail
    WScript.Echo server.LastErrorMsg
    WScript.Quit 1
End Sub
