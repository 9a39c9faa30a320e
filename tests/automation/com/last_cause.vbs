' A client of its own: what it is told before its first failure, after it, and when that is cleared.
Option Explicit

Dim server, cause
Set server = CreateObject("Tarnwick.Server")
Set cause = CreateObject("Tarnwick.LastCause")

Sub Tell
  WScript.Echo cause.Kind & " " & cause.Number & " " & cause.NativeNumber & " " & _
               cause.NativeText & " " & cause.OutcomeUnknown
End Sub

Tell
On Error Resume Next
server.RegisteredPCs.Item 1
On Error GoTo 0
Tell
cause.Clear
Tell
