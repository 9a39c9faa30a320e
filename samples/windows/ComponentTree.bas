Attribute VB_Name = "ComponentTree"
' Writes the tree of components into a sheet, or wherever Emit leads: a module for VBA. It binds late, so
' that it needs no reference; with one to "Tarnwick 1.0 security object model" the variables may be
' declared As Tarnwick.Server and so on.
Option Explicit

Private row As Long

Public Sub WriteComponentTree(connectString As String, role As String, password As String)
    Dim server As Object
    Dim component As Object

    Set server = CreateObject("Tarnwick.Server")
    If Not server.SetConnection(connectString, role, password) Then
        Err.Raise vbObjectError + 513, "ComponentTree", server.LastErrorMsg
    End If
    If Not server.Refresh Then
        Err.Raise vbObjectError + 513, "ComponentTree", server.LastErrorMsg
    End If

    row = 1
    For Each component In server.Components
        If component.ParentID = 0 Then WriteBranch server, component, 0
    Next
End Sub

Private Sub WriteBranch(server As Object, component As Object, depth As Integer)
    Dim child As Object

    Emit depth, component.Name
    For Each child In server.Components
        If child.ParentID = component.CompID Then WriteBranch server, child, depth + 1
    Next
End Sub

Private Sub Emit(depth As Integer, text As String)
    ActiveSheet.Cells(row, depth + 1).Value = text
    row = row + 1
End Sub
