' A host in ten lines: title, settings key, automatic backup.
'
'   cscript //nologo gestion.vbs [auto | prog]
'
' The host's set-up has written DirDatos and DirMDE under HKEY_LOCAL_MACHINE\Software\Gestion.
Option Explicit

Dim copia, pedido
Set copia = CreateObject("QevBackup.MCBackup")
copia.Titulo = "Gestion"
copia.Registro = "Software\Gestion"

pedido = "auto"
If WScript.Arguments.Count > 0 Then pedido = WScript.Arguments(0)

Select Case pedido
Case "auto"
  copia.CopiaAuto
Case "prog"
  copia.Destino
  copia.CopiaProg
Case Else
  WScript.Echo "gestion.vbs [auto | prog]"
  WScript.Quit 2
End Select

WScript.Echo "DirBackup=" & copia.DirBackup
WScript.Echo "Terminado=" & copia.Terminado
