; The Windows installer of tovport, for 64-bit Windows: installs tovport.exe and both servers
; (x64\tovport.dll for 64-bit hosts, x86\tovport.dll for 32-bit ones) under Program Files,
; registers each with the regsvr32 of its width, and lists itself under Uninstall. /S installs and
; uninstalls silently; /D=DIR chooses the folder.
;
;   makensis -DSTAGE=DIR -DVERSION_NSH=FILE -DOUTDIR=DIR tovport.nsi
;
; STAGE holds the files as they are installed (tovport.exe, x64\tovport.dll, x86\tovport.dll;
; scripts/package puts them there); VERSION_NSH is the tovport-version.nsh that CMake writes
; into the Windows build with the project's version and publisher.
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
RequestExecutionLevel admin
ManifestSupportedOS all

!include "${VERSION_NSH}"
!include LogicLib.nsh

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\tovport"
!define REGSVR32_64 "$SYSDIR\regsvr32.exe"          ; a 64-bit process sees the 64-bit System32
!define REGSVR32_32 "$WINDIR\SysWOW64\regsvr32.exe"

Name "tovport ${TOVPORT_VERSION}"
OutFile "${OUTDIR}/tovport-${TOVPORT_VERSION}-setup.exe"
InstallDir "$PROGRAMFILES64\tovport"
InstallDirRegKey HKLM "${UNINSTALL_KEY}" "InstallLocation"
ShowInstDetails show
ShowUninstDetails show

VIProductVersion "${TOVPORT_VERSION_QUAD}"
VIFileVersion "${TOVPORT_VERSION_QUAD}"
VIAddVersionKey "ProductName" "tovport"
VIAddVersionKey "ProductVersion" "${TOVPORT_VERSION}"
VIAddVersionKey "FileVersion" "${TOVPORT_VERSION}"
VIAddVersionKey "CompanyName" "${TOVPORT_PUBLISHER}"
VIAddVersionKey "FileDescription" "tovport ${TOVPORT_VERSION} setup"
VIAddVersionKey "LegalCopyright" "Copyright (C) ${TOVPORT_PUBLISHER}"

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

Function .onInit
  SetRegView 64
FunctionEnd

Function un.onInit
  SetRegView 64
FunctionEnd

; A registration that regsvr32 reports as failed stops the installation (exit code 2 with /S);
; the files and the uninstaller stay, so the uninstaller removes them.
!macro Register WIDTH REGSVR32 DLL
  ClearErrors
  ExecWait '"${REGSVR32}" /s "${DLL}"' $0
  ${If} ${Errors}
    !if ${WIDTH} == 32
      ; No 32-bit subsystem (WOW64) to start its regsvr32 in: no 32-bit host can run here either.
      DetailPrint "Not registered: the 32-bit server (this Windows runs no 32-bit programs)"
    !else
      MessageBox MB_ICONSTOP "${REGSVR32} could not be started." /SD IDOK
      Abort
    !endif
  ${ElseIf} $0 <> 0
    MessageBox MB_ICONSTOP "The ${WIDTH}-bit server could not be registered: regsvr32 returned $0." /SD IDOK
    Abort
  ${Else}
    DetailPrint "Registered: the ${WIDTH}-bit server"
  ${EndIf}
!macroend

Section "tovport"
  SetOutPath "$INSTDIR\x64"
  File "${STAGE}/x64/tovport.dll"
  SetOutPath "$INSTDIR\x86"
  File "${STAGE}/x86/tovport.dll"
  SetOutPath "$INSTDIR"
  File "${STAGE}/tovport.exe"

  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "tovport"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${TOVPORT_VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "${TOVPORT_PUBLISHER}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1

  !insertmacro Register 64 "${REGSVR32_64}" "$INSTDIR\x64\tovport.dll"
  !insertmacro Register 32 "${REGSVR32_32}" "$INSTDIR\x86\tovport.dll"
SectionEnd

; Unregisters what it can and removes every file and key the installer made, even when a
; regsvr32 fails (the 32-bit one cannot start where the 64-bit Windows runs no 32-bit programs).
Section "Uninstall"
  ExecWait '"${REGSVR32_64}" /s /u "$INSTDIR\x64\tovport.dll"'
  ExecWait '"${REGSVR32_32}" /s /u "$INSTDIR\x86\tovport.dll"'
  Delete "$INSTDIR\x64\tovport.dll"
  Delete "$INSTDIR\x86\tovport.dll"
  Delete "$INSTDIR\tovport.exe"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR\x64"
  RMDir "$INSTDIR\x86"
  RMDir "$INSTDIR"
  DeleteRegKey HKLM "${UNINSTALL_KEY}"
SectionEnd
