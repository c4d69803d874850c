; The installer for Windows: for the current user, without elevation. Silent with /S; /D=FOLDER comes last.
; A 64-bit program as Morvex is, which 64-bit Wine runs too. VERSION, FOLDER (what to install) and OUTPUT come from the command line.
Target amd64-unicode
ManifestDPIAware true
SetCompressor /SOLID lzma
RequestExecutionLevel user
Name "Morvex ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\Morvex"
InstallDirRegKey HKCU "Software\Norwend\Morvex Setup" "Folder"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\Morvex"

!include "MUI2.nsh"
!define MUI_ICON "${__FILEDIR__}\..\res\morvex.ico"
!define MUI_UNICON "${__FILEDIR__}\..\res\morvex.ico"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN "$INSTDIR\Morvex.exe"
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Section
  SetOutPath "$INSTDIR"
  File /r "${FOLDER}/*"
  CreateShortcut "$SMPROGRAMS\Morvex.lnk" "$INSTDIR\Morvex.exe"
  WriteUninstaller "$INSTDIR\Uninstall.exe"
  WriteRegStr HKCU "Software\Norwend\Morvex Setup" "Folder" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayName" "Morvex ${VERSION}"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL}" "DisplayIcon" "$INSTDIR\Morvex.exe"
  WriteRegStr HKCU "${UNINSTALL}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL}" "UninstallString" '"$INSTDIR\Uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL}" "NoRepair" 1
SectionEnd

; Only what was installed goes: the user's settings are elsewhere, and what he has put into the folder stays.
Section "Uninstall"
  Delete "$SMPROGRAMS\Morvex.lnk"
  RMDir /r "$INSTDIR\Licences"
  Delete "$INSTDIR\Plugins\Polyvane_x64.dll"
  Delete "$INSTDIR\Plugins\morvex-engine.exe"
  RMDir "$INSTDIR\Plugins"
  Delete "$INSTDIR\schema\README.txt"
  RMDir "$INSTDIR\schema"
  Delete "$INSTDIR\Morvex.exe"
  Delete "$INSTDIR\norwend_morvex.ini"
  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\Uninstall.exe"
  RMDir "$INSTDIR"
  DeleteRegKey HKCU "${UNINSTALL}"
  DeleteRegKey HKCU "Software\Norwend\Morvex Setup"
  DeleteRegKey /ifempty HKCU "Software\Norwend"
SectionEnd
