' The component through OLE Automation as a script host sees it: created by ProgID, called late
' bound, by-reference arguments from script variables, errors in Err. Run by cscript after
' regsvr32; prints every failed check and ends with exit code 1 when there was one.
Option Explicit
Dim failures: failures = 0

Sub Check(what, actual, expected)
  If actual <> expected Or TypeName(actual) <> TypeName(expected) Then
    WScript.Echo "FAIL " & what & ": got " & TypeName(actual) & " [" & actual & "], expected " & _
      TypeName(expected) & " [" & expected & "]"
    failures = failures + 1
  End If
End Sub

' Err after a call made under On Error Resume Next: its number and description.
Sub CheckError(what, number, description)
  Check what & " error", Err.Number & " " & Err.Description, number & " " & description
  Err.Clear
End Sub

Dim o: Set o = CreateObject("tovport.tovComPrtv3")

' Names are case-blind; results come back in their declared types (Chr(228) is "ä": Wine's
' VBScript has no ChrW).
Check "IsPending", o.IsPending, False
Check "ispending", o.ispending(), False
Check "VBGetDeviceName(154)", o.VBGetDeviceName(154), "BenQ-Siemens S65"
Check "VBGetDeviceName(0)", o.VBGetDeviceName(0), "kein Ger" & Chr(228) & "t"
Check "VBGetDeviceName(""3"")", o.VBGetDeviceName("3"), "unbekanntes BenQ-Siemens-Ger" & Chr(228) & "t"
o.VBSetTimeoutSeconds 3, 7
Check "VBGetTimeoutSeconds(3)", o.VBGetTimeoutSeconds(3), CInt(7)

' Discovery reads this machine's registry: Wine lists COM1 as \Device\Serial0.
Check "GetComPortType(1)", o.GetComPortType(1), CLng(2)
Check "GetComPortType(32)", o.GetComPortType(32), CLng(0)

' The serial API on a port that does not exist; the error comes back through a script variable
' passed to a BSTR* parameter (VT_BYREF|VT_VARIANT), which receives the text.
Dim code: code = o.VBCommOpen(31, "COM31", "baud=57600 parity=N data=8 stop=1")
Check "VBCommOpen(31) fails", code <> 0, True
Dim message: message = Empty
Check "VBCommGetError", o.VBCommGetError(message), code
Check "VBCommGetError message type", TypeName(message), "String"
Check "VBCommGetError names the call", InStr(message, "VBCommOpen (CreateFile)") > 0, True
Check "VBCommClose(31)", o.VBCommClose(31), CLng(0)

' A by-reference I2 given a script variable holding text: converted, and written back.
Dim port: port = "31"
Check "VBOpenPort(""31"")", o.VBOpenPort(port), False
Check "VBOpenPort wrote the port back", port, CInt(31)

' Arrays travel as SAFEARRAYs; a by-reference variant keeps what it was given. debugprint takes
' anything, also values the runtime has no type for: an object, a two-dimensional array.
Dim list: list = Array("a", 2)
o.debugprint list
Check "debugprint kept the array", UBound(list) & list(0) & list(1), "1a2"
Dim grid(1, 2): grid(1, 2) = "corner"
o.debugprint grid
o.debugprint o
Check "debugprint kept the 2-D array", UBound(grid, 2) & grid(1, 2), "2corner"

' Automation errors arrive with their numbers (HRESULT 0x800A0000 + n) and descriptions.
Dim x
On Error Resume Next
o.VBGetTimeoutSeconds 99
CheckError "VBGetTimeoutSeconds(99)", 9, "Subscript out of range"
x = o.GetDeviceName(154)
CheckError "GetDeviceName(154)", 13, "Type mismatch"
x = o.GetComPortType("x")
CheckError "GetComPortType(""x"")", 13, "Type mismatch"
o.NoSuchMethod
Check "NoSuchMethod", Err.Number, CLng(438)
Err.Clear
On Error GoTo 0

If failures > 0 Then
  WScript.Echo failures & " automation check(s) failed"
  WScript.Quit 1
End If
WScript.Echo "automation checks passed"
