; The installer for Windows: for the current user, without elevation. Silent with /S; /D=FOLDER comes last.
; A 64-bit program as Morvex is, which 64-bit Wine runs too. VERSION, FOLDER (what to install), ENTRIES (a folder with the
; suffixes of the Explorer's menu) and OUTPUT come from the command line.
Target amd64-unicode
ManifestDPIAware true
SetCompressor /SOLID lzma
RequestExecutionLevel user
Name "Morvex ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\Morvex"
InstallDirRegKey HKCU "Software\Norwend\Morvex Setup" "Folder"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\Morvex"
!define VERBS "Software\Classes\SystemFileAssociations"

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

; Explorer starts the program once for each selected file: up to a hundred, where a verb without a model has fifteen.
!macro AddToExplorer SUFFIX
  WriteRegStr HKCU "${VERBS}\${SUFFIX}\shell\Morvex" "" "Convert with Morvex"
  WriteRegStr HKCU "${VERBS}\${SUFFIX}\shell\Morvex" "Icon" "$INSTDIR\Morvex.exe"
  WriteRegStr HKCU "${VERBS}\${SUFFIX}\shell\Morvex" "MultiSelectModel" "Player"
  WriteRegStr HKCU "${VERBS}\${SUFFIX}\shell\Morvex\command" "" '"$INSTDIR\morvex-add.exe" "%1"'
!macroend
!macro RemoveFromExplorer SUFFIX
  DeleteRegKey HKCU "${VERBS}\${SUFFIX}\shell\Morvex"
  DeleteRegKey /ifempty HKCU "${VERBS}\${SUFFIX}\shell"
  DeleteRegKey /ifempty HKCU "${VERBS}\${SUFFIX}"
!macroend

Section
  SetOutPath "$INSTDIR"
  File /r "${FOLDER}/*"
  CreateShortcut "$SMPROGRAMS\Morvex.lnk" "$INSTDIR\Morvex.exe"
  !include "${ENTRIES}/add_to_explorer.nsh"
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
  !include "${ENTRIES}/remove_from_explorer.nsh"
  RMDir /r "$INSTDIR\Licences"
  Delete "$INSTDIR\Plugins\Polyvane_x64.dll"
  Delete "$INSTDIR\Plugins\morvex-engine.exe"
  RMDir "$INSTDIR\Plugins"
  Delete "$INSTDIR\schema\README.txt"
  RMDir "$INSTDIR\schema"
  Delete "$INSTDIR\Morvex.exe"
  Delete "$INSTDIR\morvex-batch.exe"
  Delete "$INSTDIR\morvex-add.exe"
  Delete "$INSTDIR\norwend_morvex.ini"
  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\Uninstall.exe"
  RMDir "$INSTDIR"
  DeleteRegKey HKCU "${UNINSTALL}"
  DeleteRegKey HKCU "Software\Norwend\Morvex Setup"
  DeleteRegKey /ifempty HKCU "Software\Norwend"
SectionEnd
