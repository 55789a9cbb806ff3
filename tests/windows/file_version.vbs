' Prints the file version of each file named on the command line, one a line, as Windows reads it
' from the file's version resource ("" for a file without one).
Set fso = CreateObject("Scripting.FileSystemObject")
For i = 0 To WScript.Arguments.Count - 1
  WScript.Echo fso.GetFileVersion(WScript.Arguments(i))
Next
