# Tarvik from PowerShell 5.1 or newer: reads the folders and an attribute of a configuration file, and sets an item.
#   powershell -File from_powershell.ps1 configuration.xml [folder of tarvik.dll and corekit.dll]
# The folder is the script's own unless it is given. The DLLs are of PowerShell's architecture: x64, or x86 in the 32-bit one.
param([Parameter(Mandatory)] [string] $File, [string] $Libraries = $PSScriptRoot)
$ErrorActionPreference = 'Stop'

# All strings are UTF-8 once CorekitSetUtf8 has been called. The default convention is tarvik's own.
Add-Type -TypeDefinition @'
using System;
using System.Runtime.InteropServices;

public static class Tarvik {
  [DllImport("corekit", CallingConvention = CallingConvention.Cdecl)]
  public static extern void CorekitSetUtf8(int on);
  [DllImport("tarvik")]
  public static extern uint InitXMLList(out IntPtr list);
  [DllImport("tarvik")]
  public static extern uint EndXMLList(ref IntPtr list);
  [DllImport("tarvik")]
  public static extern uint OpenXML(IntPtr list, byte[] fileName, uint encoding, int encrypted, out uint cookie);
  [DllImport("tarvik")]
  public static extern uint OpenXMLGroup(IntPtr list, uint cookie, byte[] path, byte[] groupId, uint capacity);
  [DllImport("tarvik")]
  public static extern uint GetXMLItem(IntPtr list, uint cookie, byte[] path, byte[] item, byte[] itemType, byte[] attribute,
                                       byte[] valueType, byte[] value, uint capacity);
  [DllImport("tarvik")]
  public static extern uint EnumXMLItem(IntPtr list, uint cookie, byte[] path, byte[] item, byte[] itemType, int index,
                                        byte[] attribute, byte[] valueType, byte[] value, uint capacity);
  [DllImport("tarvik")]
  public static extern uint SetXMLItem(IntPtr list, uint cookie, byte[] path, byte[] item, byte[] itemType, byte[] value);
}
'@

$success = 0
$notFound = 3
$openAtOnce = [uint32] 2147483648 # 0x80000000: OpenXML waits a second without it

function ConvertTo-Bytes([string] $text) {
    return , [Text.Encoding]::UTF8.GetBytes($text + "`0")
}

function ConvertFrom-Bytes([byte[]] $bytes) {
    return [Text.Encoding]::UTF8.GetString($bytes, 0, [Array]::IndexOf($bytes, [byte] 0))
}

function Assert-Success([uint32] $code, [string] $what) {
    if ($code -ne $success) { throw "${what}: failed ($code)" }
}

$env:PATH = "$Libraries;$env:PATH" # Windows looks for the DLLs there
$fullName = $ExecutionContext.SessionState.Path.GetUnresolvedProviderPathFromPSPath($File)
$element = ConvertTo-Bytes 'ELEMENT'
$attribute = ConvertTo-Bytes 'ATTRIBUTE'
$timeout = ConvertTo-Bytes 'Timeout'
$value = New-Object byte[] 4096

[Tarvik]::CorekitSetUtf8(1)
$list = [IntPtr]::Zero
Assert-Success ([Tarvik]::InitXMLList([ref] $list)) 'list'
try {
    $cookie = [uint32] 0
    Assert-Success ([Tarvik]::OpenXML($list, (ConvertTo-Bytes $fullName), $openAtOnce, 0, [ref] $cookie)) $File

    $folders = New-Object byte[] 260 # empty: below the root
    Assert-Success ([Tarvik]::OpenXMLGroup($list, $cookie, (ConvertTo-Bytes 'Folders'), $folders, 260)) 'Folders'
    for ($index = 1; ; $index++) {
        $code = [Tarvik]::EnumXMLItem($list, $cookie, $folders, (ConvertTo-Bytes 'Folder'), $element, $index, $null,
                                      $element, $value, 4096)
        if ($code -eq $notFound) { break }
        Assert-Success $code 'Folder'
        "folder: $(ConvertFrom-Bytes $value)"
    }

    $network = New-Object byte[] 260
    Assert-Success ([Tarvik]::OpenXMLGroup($list, $cookie, (ConvertTo-Bytes 'Network'), $network, 260)) 'Network'
    Assert-Success ([Tarvik]::GetXMLItem($list, $cookie, $network, $timeout, $element, $null, $element, $value, 4096)) 'Timeout'
    $seconds = ConvertFrom-Bytes $value
    Assert-Success ([Tarvik]::GetXMLItem($list, $cookie, $network, $timeout, $attribute, (ConvertTo-Bytes 'unit'), $attribute,
                                         $value, 4096)) 'unit'
    "timeout: $seconds $(ConvertFrom-Bytes $value)"

    # Saves the file.
    Assert-Success ([Tarvik]::SetXMLItem($list, $cookie, (ConvertTo-Bytes 'Network'), $timeout, $element,
                                         (ConvertTo-Bytes '30'))) 'Timeout'
} finally {
    [void] [Tarvik]::EndXMLList([ref] $list) # closes every document
}
