<#
.SYNOPSIS
Lists the PCs that nobody has logged in from for some time.

.EXAMPLE
./Show-IdlePC.ps1 -Connect 'Provider=Tarnwick.Embedded;Data Source=C:\dw' -Role administration -Days 90 |
    Export-Csv idle.csv

.NOTES
Windows PowerShell and PowerShell on Windows. Asks for the password of the role where none is given.
#>
param(
    [Parameter(Mandatory)] [string] $Connect,
    [Parameter(Mandatory)] [string] $Role,
    [Parameter(Mandatory)] [securestring] $Password,
    [int] $Days = 90
)

$server = New-Object -ComObject Tarnwick.Server
try {
    $plain = [pscredential]::new('role', $Password).GetNetworkCredential().Password
    if (-not $server.SetConnection($Connect, $Role, $plain)) { throw $server.LastErrorMsg }
    if (-not $server.Refresh()) { throw $server.LastErrorMsg }

    # A date that was never set is the zero of automation dates, which is long ago.
    $since = (Get-Date).AddDays(-$Days)
    foreach ($pc in $server.RegisteredPCs) {
        if ($pc.LastLogin -lt $since) {
            [pscustomobject]@{
                ComputerID = $pc.ComputerID
                MACNumber  = $pc.MACNumber
                CompID     = $pc.CompID
                LastUser   = $pc.LastUser
                LastLogin  = $pc.LastLogin
            }
        }
    }
}
finally {
    # The server ends with the last reference to it.
    [void][System.Runtime.InteropServices.Marshal]::FinalReleaseComObject($server)
}
