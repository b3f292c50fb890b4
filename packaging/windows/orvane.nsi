; Installer of the driver and the tool for 64-bit Windows 10 and later. Built with
;   VERSION  the project's version, three numbers
;   DRIVER, TOOL, NOTICES, ICON  files to take in
;   OUTPUT   the installer to write
;
; Both programs take /S (no windows). Exit codes: 0 done; 1 cancelled; 2 failed; 1150 this Windows is too old;
; 3010 done, and a file that is in use goes away at the next restart.
;
; The driver stands in the system's folder under its bare name: the system's list of drivers cuts a path at its first
; blank. No file is removed that a program may have loaded: it is moved aside and goes at the next restart, so that a
; later installation finds its names free.

Unicode true
Target amd64-unicode
ManifestSupportedOS all ; without this a new Windows calls itself an old one
RequestExecutionLevel admin
SetCompressor /SOLID lzma
SetDateSave off

!include LogicLib.nsh
!include FileFunc.nsh
!include WinVer.nsh
!include MUI2.nsh

!define DRIVER_LIST "Software\Microsoft\Windows NT\CurrentVersion\drivers32"
!define DRIVER_TEXTS "Software\Microsoft\Windows NT\CurrentVersion\drivers.desc"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Orvane"
!define SETTINGS_KEY "Software\Orvane"

!searchparse "${VERSION}" "" MAJOR "." MINOR "." PATCH

!define EXIT_FAILED 2
!define EXIT_OLD_WINDOWS 1150
!define EXIT_RESTART 3010

Name "Orvane"
OutFile "${OUTPUT}"
BrandingText "Orvane ${VERSION}"
InstallDir "$PROGRAMFILES64\Orvane"
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "Orvane"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileDescription "Orvane lossless video codec, installer"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey LegalCopyright "Orvane"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEPAGE_TEXT "This installs the lossless video codec, for all programs that use Video for Windows, \
and the command-line tool orvane.$\r$\n$\r$\nAn older version is replaced, and your settings stay. Programs that use \
the codec may go on meanwhile: they get the new one when they are next started."
!define MUI_FINISHPAGE_RUN "$SYSDIR\rundll32.exe"
!define MUI_FINISHPAGE_RUN_PARAMETERS "orvane.dll,Configure"
!define MUI_FINISHPAGE_RUN_TEXT "Open the settings"
!define MUI_FINISHPAGE_RUN_NOTCHECKED
!define MUI_FINISHPAGE_NOREBOOTSUPPORT
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; ForEachCode MACRO: MACRO for each four-character code that the driver serves, the generic decoder's last.
!macro ForEachCode MACRO
  !insertmacro ${MACRO} O8RG
  !insertmacro ${MACRO} O8RA
  !insertmacro ${MACRO} O8YA
  !insertmacro ${MACRO} O8Y4
  !insertmacro ${MACRO} O8Y2
  !insertmacro ${MACRO} O8Y0
  !insertmacro ${MACRO} O8G0
  !insertmacro ${MACRO} ORVN
!macroend

!macro Register CODE
  WriteRegStr HKLM "${DRIVER_LIST}" "vidc.${CODE}" "orvane.dll"
!macroend

; A code that another library serves by now is no longer ours.
!macro Unregister CODE
  ReadRegStr $0 HKLM "${DRIVER_LIST}" "vidc.${CODE}"
  ${If} $0 == "orvane.dll"
    DeleteRegValue HKLM "${DRIVER_LIST}" "vidc.${CODE}"
  ${EndIf}
!macroend

!macro Fail TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel ${EXIT_FAILED}
  Abort "${TEXT}"
!macroend

; Says why nothing was done: in a window, and silently on the console that the installer was started from.
!macro Refuse TEXT
  ${If} ${Silent}
    System::Call 'kernel32::AttachConsole(i -1)'
    System::Call 'kernel32::GetStdHandle(i -12) p .r0'
    FileWrite $0 "orvane-setup: error: ${TEXT}$\r$\n"
  ${Else}
    MessageBox MB_OK|MB_ICONSTOP "${TEXT}"
  ${EndIf}
!macroend

; Frees the name on the stack: deletes the file, or moves it aside while a program has it loaded.
!macro DefineClear UN
  Function ${UN}Clear
    Exch $0
    Push $1
    Delete "$0.*.old" ; what earlier replacements left and nobody has loaded any more
    Delete "$0"
    ${If} ${FileExists} "$0"
      StrCpy $1 1
      ${While} ${FileExists} "$0.$1.old"
        IntOp $1 $1 + 1
      ${EndWhile}
      Rename "$0" "$0.$1.old"
      Delete /REBOOTOK "$0.$1.old"
    ${EndIf}
    Pop $1
    Pop $0
  FunctionEnd
!macroend
!insertmacro DefineClear ""
!insertmacro DefineClear "un."

; Install SOURCE TARGET: the new file is complete beside the old one before that gives way. Where the old one cannot
; even be moved, the new one takes its place at the next restart.
!macro Install SOURCE TARGET
  ClearErrors
  File "/oname=${TARGET}.new" "${SOURCE}"
  ${If} ${Errors}
    Delete "${TARGET}.new"
    !insertmacro Fail "${TARGET} cannot be written. Is there room on the disk, and are you an administrator?"
  ${EndIf}
  Push "${TARGET}"
  Call Clear
  Rename /REBOOTOK "${TARGET}.new" "${TARGET}"
!macroend

Function .onInit
  SetRegView 64
  SetShellVarContext all
  ${IfNot} ${AtLeastWin10}
    !insertmacro Refuse "Orvane needs Windows 10 or later. This Windows is older, and nothing has been changed."
    SetErrorLevel ${EXIT_OLD_WINDOWS}
    Quit
  ${EndIf}
  ; An upgrade goes where the old version is, unless /D says otherwise.
  ReadRegStr $0 HKLM "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $0 != ""
  ${AndIf} $INSTDIR == "$PROGRAMFILES64\Orvane"
    StrCpy $INSTDIR $0
  ${EndIf}
FunctionEnd

Section "Orvane" SectionAll
  SetOverwrite try ; a file that cannot be written is an error here, and no question
  SetOutPath "$INSTDIR"
  !insertmacro Install "${DRIVER}" "$SYSDIR\orvane.dll"
  !insertmacro Install "${TOOL}" "$INSTDIR\orvane.exe"
  !insertmacro Install "${NOTICES}" "$INSTDIR\THIRD-PARTY-NOTICES.txt"
  Push "$INSTDIR\uninstall.exe"
  Call Clear
  WriteUninstaller "$INSTDIR\uninstall.exe"

  !insertmacro ForEachCode Register
  WriteRegStr HKLM "${DRIVER_TEXTS}" "orvane.dll" "Orvane lossless video codec"

  CreateDirectory "$SMPROGRAMS\Orvane"
  SetOutPath "$SYSDIR" ; where the entries start
  CreateShortcut "$SMPROGRAMS\Orvane\Orvane settings.lnk" "$SYSDIR\rundll32.exe" "orvane.dll,Configure" "$SYSDIR\orvane.dll" 0
  SetOutPath "$PROFILE"
  CreateShortcut "$SMPROGRAMS\Orvane\Orvane command line.lnk" "$SYSDIR\cmd.exe" '/k "set "PATH=$INSTDIR;%PATH%""'
  SetOutPath "$INSTDIR"

  SectionGetSize ${SectionAll} $0
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "Orvane lossless video codec"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "The Orvane maintainers"
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "VersionMajor" ${MAJOR}
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "VersionMinor" ${MINOR}
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayIcon" "$SYSDIR\orvane.dll"
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "EstimatedSize" $0
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

; Tells what waits for a restart; silently, by the exit code alone.
!macro DefineRestartNote UN
  Function ${UN}RestartNote
    ${If} ${RebootFlag}
      SetErrorLevel ${EXIT_RESTART}
      MessageBox MB_OK|MB_ICONINFORMATION "A program has the old version loaded. It keeps it until it is next \
started; what is left of it goes away when Windows restarts." /SD IDOK
    ${EndIf}
  FunctionEnd
!macroend
!insertmacro DefineRestartNote ""
!insertmacro DefineRestartNote "un."

Function .onInstSuccess
  Call RestartNote
FunctionEnd

Function un.onInit
  SetRegView 64
  SetShellVarContext all
FunctionEnd

Section "Uninstall"
  !insertmacro ForEachCode Unregister
  DeleteRegValue HKLM "${DRIVER_TEXTS}" "orvane.dll"
  DeleteRegKey /ifempty HKLM "${DRIVER_TEXTS}" ; a system without other drivers' texts has no such key
  DeleteRegKey HKLM "${UNINSTALL_KEY}"

  ; The settings and logs of the user who asks for it; those of others are theirs.
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/PURGE" $1
  ${If} ${Errors}
    MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "Remove your settings and log files of the codec, too?" \
      /SD IDNO IDNO keep
  ${EndIf}
  DeleteRegKey HKCU "${SETTINGS_KEY}"
  RMDir /r "$PROFILE\orvane"
keep:

  Delete "$SMPROGRAMS\Orvane\Orvane settings.lnk"
  Delete "$SMPROGRAMS\Orvane\Orvane command line.lnk"
  RMDir "$SMPROGRAMS\Orvane"

  ; New files that a restart was to put in place.
  Delete "$SYSDIR\orvane.dll.new"
  Delete "$INSTDIR\orvane.exe.new"
  Delete "$INSTDIR\THIRD-PARTY-NOTICES.txt.new"
  Push "$SYSDIR\orvane.dll"
  Call un.Clear
  Push "$INSTDIR\orvane.exe"
  Call un.Clear
  Push "$INSTDIR\THIRD-PARTY-NOTICES.txt"
  Call un.Clear
  Push "$INSTDIR\uninstall.exe"
  Call un.Clear
  SetOutPath "$TEMP" ; nobody stands in the folder that goes
  RMDir "$INSTDIR"
  ${If} ${FileExists} "$INSTDIR\*.old"
    RMDir /REBOOTOK "$INSTDIR"
  ${EndIf}

SectionEnd

Function un.onUninstSuccess
  Call un.RestartNote
FunctionEnd
