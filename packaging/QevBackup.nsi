; The set-up program: puts the library of either architecture in its place, registers it, and takes all of it back.
;
;   makensis -DVERSION=… -DTARGET=… -DSTAGE=… -DICON=… -DPICTURE=… -DOUTPUT=… QevBackup.nsi    (see tools/make-release.sh)
;
;   VERSION   three numbers, as the project has it
;   TARGET    x86-unicode: runs on every Windows; amd64-unicode: on 64-bit systems, those without 32-bit programs too
; ICON, PICTURE   the icon, and the bitmap at the left of the first and the last page (164 x 314 pixels)
;   STAGE     folder with what is delivered: x64, x86, and what goes beside them; files.nsh lists the latter
;
; Command line: /S installs or uninstalls without a window. Exit codes of both:
;      0   done
;      1   the user left
;      2   a step failed; what an installation had put is taken back
;      3   files of the library are in use by a program; nothing was changed
;      4   no administrator's rights; nothing was changed
;   3010  uninstalled; files that were in use go at the next start of Windows
;
; The uninstaller works from a copy of itself and returns at once. Who must wait for it and see its exit code adds
; _?=FOLDER, the folder that it is in, as the last argument; then the uninstaller's own file stays.

!ifndef VERSION | TARGET | STAGE | ICON | PICTURE | OUTPUT
  !error "VERSION, TARGET, STAGE, ICON, PICTURE and OUTPUT must be given"
!endif

Target ${TARGET}
ManifestSupportedOS all
ManifestDPIAware true
RequestExecutionLevel admin
SetCompressor /SOLID lzma
SetDateSave on
SetOverwrite try
AllowSkipFiles off
CRCCheck force
ShowInstDetails hide
ShowUninstDetails hide

!include MUI2.nsh
!include LogicLib.nsh
!include x64.nsh
!include FileFunc.nsh
!include "${STAGE}/files.nsh"

Name "QevBackup ${VERSION}"
OutFile "${OUTPUT}"
BrandingText "QevBackup ${VERSION}"

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\QevBackup"
!define EXIT_FAILED 2
!define EXIT_IN_USE 3
!define EXIT_NO_RIGHTS 4
!define EXIT_RESTART 3010

Var Folder32    ; of the 32-bit library; empty where the system runs no 32-bit programs
Var Folder64    ; of the 64-bit library; empty on a 32-bit system
Var Register32  ; the regsvr32.exe of each
Var Register64
Var Home        ; folder of documents, samples and the uninstaller
Var Changed     ; 1 once the installation has changed something
Var Failed      ; 1 once a step of the uninstallation has failed

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${PICTURE}"
!define MUI_ABORTWARNING
!define MUI_WELCOMEPAGE_TEXT "$(WelcomeText)"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "Spanish"
!insertmacro MUI_LANGUAGE "English"

LangString WelcomeText ${LANG_SPANISH} "Se instalará y registrará la biblioteca de copias de seguridad QevBackup \
  ${VERSION}, para programas de 32 y de 64 bits.$\r$\n$\r$\nCierre antes los programas que la usen."
LangString WelcomeText ${LANG_ENGLISH} "This installs and registers the backup library QevBackup ${VERSION}, for \
  32-bit and 64-bit programs.$\r$\n$\r$\nPlease close the programs that use it first."
LangString NoRights ${LANG_SPANISH} "Hacen falta los permisos de un administrador."
LangString NoRights ${LANG_ENGLISH} "This needs the rights of an administrator."
LangString InUse ${LANG_SPANISH} "Un programa está usando $R0.$\r$\n$\r$\nCiérrelo y vuelva a intentarlo."
LangString InUse ${LANG_ENGLISH} "A program is using $R0.$\r$\n$\r$\nClose it and try again."
LangString CopyFailed ${LANG_SPANISH} "No se han podido copiar los ficheros en $R0."
LangString CopyFailed ${LANG_ENGLISH} "The files could not be copied to $R0."
LangString UpdateFailed ${LANG_SPANISH} "No se ha podido quitar la versión anterior de $R0 (código $R1)."
LangString UpdateFailed ${LANG_ENGLISH} "The previous version could not be removed from $R0 (code $R1)."
LangString RegisterFailed ${LANG_SPANISH} "No se ha podido registrar $R0 (código $R1)."
LangString RegisterFailed ${LANG_ENGLISH} "$R0 could not be registered (code $R1)."
LangString UnregisterFailed ${LANG_SPANISH} "No se ha podido quitar $R0 del registro (código $R1)."
LangString UnregisterFailed ${LANG_ENGLISH} "$R0 could not be unregistered (code $R1)."
LangString RemoveFailed ${LANG_SPANISH} "No se ha podido quitar todo. Vea los detalles."
LangString RemoveFailed ${LANG_ENGLISH} "Not everything could be removed. See the details."
LangString Only64 ${LANG_SPANISH} "Este sistema no ejecuta programas de 32 bits: se instala sólo la biblioteca de 64 bits."
LangString Only64 ${LANG_ENGLISH} "This system runs no 32-bit programs: only the 64-bit library is installed."
LangString Restart ${LANG_SPANISH} "Algunos ficheros están en uso. Se borrarán al reiniciar Windows."
LangString Restart ${LANG_ENGLISH} "Some files are in use. They will be deleted when Windows restarts."
LangString Description ${LANG_SPANISH} "Instalación de QevBackup"
LangString Description ${LANG_ENGLISH} "QevBackup set-up"

VIProductVersion "${VERSION}.0"
VIFileVersion "${VERSION}.0"
!macro VersionKeys LANGUAGE DESCRIPTION
  VIAddVersionKey /LANG=${LANGUAGE} "CompanyName" "QevBackup"
  VIAddVersionKey /LANG=${LANGUAGE} "FileDescription" "${DESCRIPTION}"
  VIAddVersionKey /LANG=${LANGUAGE} "FileVersion" "${VERSION}.0"
  VIAddVersionKey /LANG=${LANGUAGE} "LegalCopyright" "QevBackup"
  VIAddVersionKey /LANG=${LANGUAGE} "ProductName" "QevBackup"
  VIAddVersionKey /LANG=${LANGUAGE} "ProductVersion" "${VERSION}.0"
!macroend
!insertmacro VersionKeys ${LANG_SPANISH} "Instalación de QevBackup"
!insertmacro VersionKeys ${LANG_ENGLISH} "QevBackup set-up"

; What installer and uninstaller share; UN is "" or "un.".
!macro Shared UN
  Function ${UN}SetPlaces
    StrCpy $Folder64 ""
    StrCpy $Folder32 "$PROGRAMFILES32\QevBackup"
    StrCpy $Register32 "$SYSDIR\regsvr32.exe"
    ${If} ${IsNativeAMD64}
      StrCpy $Folder64 "$PROGRAMFILES64\QevBackup"
      !if ${NSIS_PTR_SIZE} > 4
        StrCpy $Register64 "$WINDIR\System32\regsvr32.exe"
      !else
        StrCpy $Register64 "$WINDIR\Sysnative\regsvr32.exe" ; System32 is another folder for a 32-bit program
      !endif
      StrCpy $Register32 "$WINDIR\SysWOW64\regsvr32.exe"
      SetRegView 64
    ${EndIf}
    ${IfNot} ${FileExists} "$Register32"
      StrCpy $Folder32 ""
    ${EndIf}
    StrCpy $Home $Folder64
    ${If} $Home == ""
      StrCpy $Home $Folder32
    ${EndIf}
  FunctionEnd

  Function ${UN}CheckRights
    UserInfo::GetAccountType
    Pop $0
    ${If} $0 != "Admin"
      MessageBox MB_OK|MB_ICONSTOP "$(NoRights)" /SD IDOK
      SetErrorLevel ${EXIT_NO_RIGHTS}
      Quit
    ${EndIf}
  FunctionEnd

  ; Deletes the file $R0. One in use gets another name first: it goes at the next start of Windows, and a new
  ; installation before that is not touched.
  Function ${UN}RemoveFile
    ClearErrors
    Delete "$R0"
    ${If} ${Errors}
      ClearErrors
      StrCpy $R2 0
      ${Do}
        IntOp $R2 $R2 + 1
      ${LoopWhile} ${FileExists} "$R0.$R2.old"
      Rename "$R0" "$R0.$R2.old"
      ${IfNot} ${Errors}
        StrCpy $R0 "$R0.$R2.old"
      ${EndIf}
      ClearErrors
      Delete /REBOOTOK "$R0"
      ${If} ${Errors}
        StrCpy $Failed 1
        DetailPrint "$R0"
      ${EndIf}
    ${EndIf}
  FunctionEnd

  ; Unregisters the library in the folder $R3 with the program $R4 and deletes it. An empty folder is none.
  Function ${UN}RemoveLibrary
    ${If} $R3 == ""
    ${OrIfNot} ${FileExists} "$R3\*.*"
      Return
    ${EndIf}
    ${If} ${FileExists} "$R3\QevBackup.dll"
      ClearErrors
      StrCpy $R0 "$R3\QevBackup.dll"
      StrCpy $R1 "-"
      ExecWait '"$R4" /s /u "$R0"' $R1
      ${If} ${Errors}
      ${OrIf} $R1 <> 0
        DetailPrint "$(UnregisterFailed)"
        StrCpy $Failed 1
      ${EndIf}
    ${EndIf}
    !insertmacro RemoveIn "${UN}" "$R3" QevBackup.dll
    !insertmacro RemoveIn "${UN}" "$R3" VANTO5.DLL
    !insertmacro RemoveIn "${UN}" "$R3" VANTO6.DLL
    !insertmacro RemoveIn "${UN}" "$R3" QevBackup.X.manifest
  FunctionEnd

  ; Takes back all that an installation puts. What else is in its folders stays, and so do they then.
  Function ${UN}RemoveAll
    SetOutPath "$TEMP" ; a folder that is the current one cannot be removed
    StrCpy $Failed 0
    StrCpy $R3 $Folder32
    StrCpy $R4 $Register32
    Call ${UN}RemoveLibrary
    StrCpy $R3 $Folder64
    StrCpy $R4 $Register64
    Call ${UN}RemoveLibrary
    !insertmacro RemoveBeside "$Home"
    Delete "$Home\Uninstall.exe"
    DeleteRegKey HKLM "${UNINSTALL_KEY}"
    !insertmacro RemoveFolder "$Folder32"
    !insertmacro RemoveFolder "$Folder64"
  FunctionEnd
!macroend

!macro RemoveIn UN FOLDER FILE
  ${If} ${FileExists} "${FOLDER}\${FILE}"
    StrCpy $R0 "${FOLDER}\${FILE}"
    Call ${UN}RemoveFile
  ${EndIf}
!macroend

!macro RemoveFolder FOLDER
  ${If} "${FOLDER}" != ""
    ${If} ${RebootFlag}
      RMDir /REBOOTOK "${FOLDER}"
    ${Else}
      RMDir "${FOLDER}"
    ${EndIf}
  ${EndIf}
!macroend

!insertmacro Shared ""
!insertmacro Shared "un."

; ----------------------------------------------------------------------------------------------------- installation

Function .onInit
  StrCpy $Changed 0
  Call CheckRights
  Call SetPlaces
FunctionEnd

Function RollBack
  ${If} $Changed = 1
    StrCpy $Changed 0
    Call RemoveAll
  ${EndIf}
FunctionEnd

Function .onInstFailed
  Call RollBack
FunctionEnd

; Stops where a program has the file $R0 open, before anything was changed. The user may close it and try again.
Function CheckFree
  ${DoWhile} ${FileExists} "$R0"
    ClearErrors
    FileOpen $0 "$R0" a
    ${IfNot} ${Errors}
      FileClose $0
      Return
    ${EndIf}
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$(InUse)" /SD IDCANCEL IDRETRY again
    DetailPrint "$(InUse)"
    SetErrorLevel ${EXIT_IN_USE}
    Abort
    again:
  ${Loop}
FunctionEnd

; Ends a failed installation with the message.
!macro Fail MESSAGE
  DetailPrint "${MESSAGE}"
  MessageBox MB_OK|MB_ICONSTOP "${MESSAGE}" /SD IDOK
  Call RollBack
  SetErrorLevel ${EXIT_FAILED}
  Abort
!macroend

; Another version knows what it has put; this one may have other files.
Function RemovePrevious
  ${If} ${FileExists} "$Home\Uninstall.exe"
    ClearErrors
    StrCpy $R0 "$Home"
    StrCpy $R1 "-"
    ExecWait '"$Home\Uninstall.exe" /S _?=$Home' $R1
    ${If} ${Errors}
    ${OrIf} $R1 <> 0
      !insertmacro Fail "$(UpdateFailed)"
    ${EndIf}
  ${EndIf}
FunctionEnd

!macro CheckFolderFree FOLDER
  ${If} "${FOLDER}" != ""
    StrCpy $R0 "${FOLDER}\QevBackup.dll"
    Call CheckFree
    StrCpy $R0 "${FOLDER}\VANTO5.DLL"
    Call CheckFree
    StrCpy $R0 "${FOLDER}\VANTO6.DLL"
    Call CheckFree
  ${EndIf}
!macroend

!macro InstallLibrary ARCHITECTURE FOLDER REGISTER
  ${If} "${FOLDER}" != ""
    ClearErrors
    SetOutPath "${FOLDER}"
    File "${STAGE}/${ARCHITECTURE}/QevBackup.dll"
    File "${STAGE}/${ARCHITECTURE}/VANTO5.DLL"
    File "${STAGE}/${ARCHITECTURE}/VANTO6.DLL"
    File "${STAGE}/${ARCHITECTURE}/QevBackup.X.manifest"
    ${If} ${Errors}
      StrCpy $R0 "${FOLDER}"
      !insertmacro Fail "$(CopyFailed)"
    ${EndIf}
    StrCpy $R0 "${FOLDER}\QevBackup.dll"
    StrCpy $R1 "-"
    ExecWait '"${REGISTER}" /s "$R0"' $R1
    ${If} ${Errors}
    ${OrIf} $R1 <> 0
      !insertmacro Fail "$(RegisterFailed)"
    ${EndIf}
  ${EndIf}
!macroend

Section
  !insertmacro CheckFolderFree "$Folder32"
  !insertmacro CheckFolderFree "$Folder64"
  Call RemovePrevious
  StrCpy $Changed 1
  ${If} $Folder32 == ""
    DetailPrint "$(Only64)"
  ${EndIf}
  !insertmacro InstallLibrary x86 "$Folder32" "$Register32"
  !insertmacro InstallLibrary x64 "$Folder64" "$Register64"

  ClearErrors
  !insertmacro InstallBeside "$Home"
  WriteUninstaller "$Home\Uninstall.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "QevBackup"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayIcon" "$Home\Uninstall.exe,0"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "QevBackup"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$Home"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$Home\Uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$Home\Uninstall.exe" /S'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Folder32" "$Folder32"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Folder64" "$Folder64"
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
  SectionGetSize 0 $0
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "EstimatedSize" $0
  ${If} ${Errors}
    StrCpy $R0 "$Home"
    !insertmacro Fail "$(CopyFailed)"
  ${EndIf}
  StrCpy $Changed 0
SectionEnd

; --------------------------------------------------------------------------------------------------- uninstallation

Function un.onInit
  Call un.CheckRights
  Call un.SetPlaces
FunctionEnd

Section "Uninstall"
  Call un.RemoveAll
  ${If} $Failed = 1
    DetailPrint "$(RemoveFailed)"
    MessageBox MB_OK|MB_ICONSTOP "$(RemoveFailed)" /SD IDOK
    SetErrorLevel ${EXIT_FAILED}
    Abort
  ${EndIf}
  ${If} ${RebootFlag}
    DetailPrint "$(Restart)"
    MessageBox MB_OK|MB_ICONINFORMATION "$(Restart)" /SD IDOK
    SetErrorLevel ${EXIT_RESTART}
  ${EndIf}
SectionEnd
