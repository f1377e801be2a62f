; The setup, made by make.sh. It tells VERSION; FILES, the folder that is installed, of SIZE kilobytes;
; REMOVAL, the commands that delete each of these files; and OUTPUT, the program to make.
;
; It ends with 0, with 2 when it could not do its work, or with 3 when a program is using what is
; installed; then nothing was changed. README.txt tells of the switches.

Target amd64-unicode
SetCompressor /SOLID lzma
Name "TlkC2"
OutFile "${OUTPUT}"
BrandingText "TlkC2 ${VERSION}. All rights reserved."
ManifestDPIAware true
ManifestSupportedOS all
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "TlkC2"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey FileDescription "TlkC2 setup"
VIAddVersionKey CompanyName "TlkC2"
VIAddVersionKey LegalCopyright "All rights reserved."

!define APPS "Software\Microsoft\Windows\CurrentVersion\Uninstall"
!define FAILED 2
!define IN_USE 3

; For the machine if the user has the rights, unless a switch, the page or an earlier version says otherwise.
!define MULTIUSER_MUI
!define MULTIUSER_EXECUTIONLEVEL Highest
!define MULTIUSER_USE_PROGRAMFILES64
!define MULTIUSER_INSTALLMODE_COMMANDLINE
!define MULTIUSER_INSTALLMODE_INSTDIR "TlkC2"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_KEY "${APPS}\TlkC2"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_VALUENAME "InstallLocation"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_KEY "${APPS}\TlkC2"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_VALUENAME "InstallLocation"
!include MultiUser.nsh
!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh

!define MUI_FINISHPAGE_SHOWREADME "$INSTDIR\README.txt"
!insertmacro MULTIUSER_PAGE_INSTALLMODE
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; Also where no window shows it: on the standard output, or the console, of who started this.
!macro Say TEXT
  DetailPrint "${TEXT}"
  ${If} ${Silent}
    System::Call 'kernel32::GetStdHandle(i -11) p.r9'
    ${If} $9 P= 0
      System::Call 'kernel32::AttachConsole(i -1)'
      System::Call 'kernel32::GetStdHandle(i -11) p.r9'
    ${EndIf}
    FileWrite $9 "${TEXT}$\r$\n"
  ${EndIf}
!macroend

!macro Fail STATUS TEXT
  !insertmacro Say "${TEXT}"
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel ${STATUS}
  Quit
!macroend

!macro DemandAdministrator
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != "Admin"
    !insertmacro Fail ${FAILED} "For the machine, TlkC2 is installed and removed by an administrator."
  ${EndIf}
!macroend

; regsvr32 of SYSTEM, with those switches and the ones for the user or the machine, for the module in
; FOLDER: its status in $0, or an error where there is no such program.
!macro Regsvr32 SYSTEM SWITCHES FOLDER
  StrCpy $1 ""
  ${If} $MultiUser.InstallMode == "CurrentUser"
    StrCpy $1 "/n /i:user"
  ${EndIf}
  ClearErrors
  ExecWait '"${SYSTEM}\regsvr32.exe" /s ${SWITCHES} $1 "$INSTDIR\${FOLDER}\TlkC2.dll"' $0
!macroend

!macro Unregister
  !insertmacro Regsvr32 "$WINDIR\SysWOW64" "/u" "x86"
  !insertmacro Regsvr32 "$SYSDIR" "/u" "x64"
  ${If} $MultiUser.InstallMode == "CurrentUser"
    ; What a user may have had nothing in before.
    DeleteRegKey /ifnosubkeys /ifnovalues HKCU "Software\Classes\CLSID"
    DeleteRegKey /ifnosubkeys /ifnovalues HKCU "Software\Classes\Interface"
    DeleteRegKey /ifnosubkeys /ifnovalues HKCU "Software\Classes\TypeLib"
  ${EndIf}
!macroend

!macro RemoveFiles
  SetOutPath "$TEMP"
  !include "${REMOVAL}"
  Delete "$INSTDIR\Uninstall.exe"
  RMDir "$INSTDIR"
  ${If} $MultiUser.InstallMode == "CurrentUser"
    RMDir "$LOCALAPPDATA\Programs"
  ${EndIf}
!macroend

!macro RemoveFilesAndFail TEXT
  !insertmacro RemoveFiles
  !insertmacro Fail ${FAILED} "${TEXT}: TlkC2 is not installed."
!macroend

Var Folder

Function .onInit
  StrCpy $Folder $INSTDIR  ; What /D= says, which the next lines forget.
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/AllUsers" $1
  ${IfNot} ${Errors}
    !insertmacro DemandAdministrator
  ${EndIf}
  !insertmacro MULTIUSER_INIT
  ${If} $Folder != ""
    StrCpy $INSTDIR $Folder
  ${EndIf}
FunctionEnd

Section
  ; Another version goes first, wherever it is, and whole. Its uninstaller runs where it is, so that it can
  ; be waited for, and cannot delete itself.
  ReadRegStr $Folder SHCTX "${APPS}\TlkC2" "InstallLocation"
  ${If} $Folder != ""
    ClearErrors
    ExecWait '"$Folder\Uninstall.exe" /S _?=$Folder' $0
    ${IfNot} ${Errors}
      ${If} $0 = ${IN_USE}
        !insertmacro Fail ${IN_USE} "A program is using TlkC2, which is installed in $Folder: end it, and start again. Nothing was changed."
      ${ElseIf} $0 <> 0
        !insertmacro Fail ${FAILED} "The TlkC2 that is installed in $Folder could not be removed."
      ${EndIf}
    ${EndIf}
    Delete "$Folder\Uninstall.exe"
    RMDir "$Folder"
  ${EndIf}

  ClearErrors
  SetOutPath "$INSTDIR"
  File /r "${FILES}/*"
  WriteUninstaller "$INSTDIR\Uninstall.exe"
  ${If} ${Errors}
    !insertmacro RemoveFilesAndFail "The files could not be written to $INSTDIR"
  ${EndIf}

  !insertmacro Regsvr32 "$WINDIR\SysWOW64" "" "x86"
  ${If} ${Errors}
    !insertmacro Say "The 32-bit control was not registered: 32-bit programs do not run here."
  ${ElseIf} $0 <> 0
    !insertmacro RemoveFilesAndFail "The 32-bit control could not be registered"
  ${EndIf}
  !insertmacro Regsvr32 "$SYSDIR" "" "x64"
  ${If} ${Errors}
  ${OrIf} $0 <> 0
    !insertmacro Unregister
    !insertmacro RemoveFilesAndFail "The 64-bit control could not be registered"
  ${EndIf}

  WriteRegStr SHCTX "${APPS}\TlkC2" "DisplayName" "TlkC2"
  WriteRegStr SHCTX "${APPS}\TlkC2" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${APPS}\TlkC2" "Publisher" "TlkC2"
  WriteRegStr SHCTX "${APPS}\TlkC2" "Comments" "All rights reserved."
  WriteRegStr SHCTX "${APPS}\TlkC2" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${APPS}\TlkC2" "DisplayIcon" "$INSTDIR\Uninstall.exe"
  WriteRegStr SHCTX "${APPS}\TlkC2" "UninstallString" '"$INSTDIR\Uninstall.exe"'
  WriteRegStr SHCTX "${APPS}\TlkC2" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /S'
  WriteRegDWORD SHCTX "${APPS}\TlkC2" "EstimatedSize" ${SIZE}
  WriteRegDWORD SHCTX "${APPS}\TlkC2" "NoModify" 1
  WriteRegDWORD SHCTX "${APPS}\TlkC2" "NoRepair" 1
SectionEnd

; Whose it is, the folder tells: no switch is needed.
Function un.onInit
  !insertmacro MULTIUSER_UNINIT
  ReadRegStr $0 HKCU "${APPS}\TlkC2" "InstallLocation"
  ${If} $0 == $INSTDIR
    Call un.MultiUser.InstallMode.CurrentUser
  ${Else}
    !insertmacro DemandAdministrator
    Call un.MultiUser.InstallMode.AllUsers
  ${EndIf}
FunctionEnd

; Whoever has loaded a file lets nobody else write to it.
!macro LeaveIfInUse NAME
  ${If} ${FileExists} "$INSTDIR\${NAME}"
    ClearErrors
    FileOpen $0 "$INSTDIR\${NAME}" a
    ${If} ${Errors}
      !insertmacro Fail ${IN_USE} "A program is using $INSTDIR\${NAME}: end it, and start again. Nothing was changed."
    ${EndIf}
    FileClose $0
  ${EndIf}
!macroend

Section Uninstall
  !insertmacro LeaveIfInUse "x64\TlkC2.dll"
  !insertmacro LeaveIfInUse "x64\tlk.exe"
  !insertmacro LeaveIfInUse "x86\TlkC2.dll"
  !insertmacro LeaveIfInUse "x86\tlk.exe"
  !insertmacro Unregister
  !insertmacro RemoveFiles
  DeleteRegKey SHCTX "${APPS}\TlkC2"
  ${If} $MultiUser.InstallMode == "CurrentUser"
    DeleteRegKey /ifnosubkeys /ifnovalues HKCU "${APPS}"
  ${EndIf}
SectionEnd
