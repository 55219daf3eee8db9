' A host of the installed library: an automatic backup, with the settings under the key that is named.
Dim copia
Set copia = CreateObject("QevBackup.MCBackup")
copia.Titulo = "Gestion"
copia.Registro = WScript.Arguments(0)
copia.Terminado = "False"
copia.CopiaAuto
WScript.Echo "Terminado=" & copia.Terminado
WScript.Echo "done"
