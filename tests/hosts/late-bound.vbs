' A late-bound host in VBScript: prints a line a check, quits with the number of failures.
Option Explicit
Const Clave = "Software\QevBackupScriptTest"
Dim fallos, copia, otra, consola, sistema, carpeta
fallos = 0

Sub Comprueba(que, esperado, obtenido)
  If esperado = obtenido Then
    WScript.Echo "ok   " & que
  Else
    WScript.Echo "FAIL " & que & ": expected [" & esperado & "], got [" & obtenido & "]"
    fallos = fallos + 1
  End If
End Sub

Set consola = CreateObject("WScript.Shell")
Set sistema = CreateObject("Scripting.FileSystemObject")
carpeta = "C:\QevBackupScript"
If sistema.FolderExists(carpeta) Then sistema.DeleteFolder carpeta, True
sistema.CreateFolder carpeta
sistema.CreateFolder carpeta & "\Datos"
sistema.CreateFolder carpeta & "\Datos\Año 1"
sistema.CreateFolder carpeta & "\Backup"
sistema.CreateTextFile(carpeta & "\Datos\Año 1\señas.txt").Write "Ibáñez"
consola.RegWrite "HKLM\" & Clave & "\DirDatos", carpeta & "\Datos\Año 1\"
consola.RegWrite "HKLM\" & Clave & "\DirMDE", carpeta & "\"
consola.RegWrite "HKLM\" & Clave & "\Cerrar", 1, "REG_DWORD"
consola.RegWrite "HKLM\" & Clave & "\Copia", "1"

Set copia = CreateObject("QevBackup.MCBackup")
Set otra = CreateObject("QevBackup.MCBackup")
Comprueba "Terminado before any window", "False", copia.Terminado
Comprueba "Aceptar before any window", False, copia.Aceptar
copia.Titulo = "Gestión"
Comprueba "Titulo is shared", "Gestión", otra.Titulo
copia.Registro = Clave
Comprueba "Registro reads back", Clave, otra.Registro
Comprueba "DirBackup is derived", carpeta & "\Backup\", copia.DirBackup
Comprueba "the folder beside the data exists", True, sistema.FolderExists(carpeta & "\Datos\Backup")

copia.CopiaAuto
Comprueba "Terminado after a backup", "True", copia.Terminado
Comprueba "Estado", "Ultima copia de seguridad realizada correctamente", consola.RegRead("HKLM\" & Clave & "\Estado")
Comprueba "one set", 1, sistema.GetFolder(carpeta & "\Backup").Files.Count

On Error Resume Next
copia.Terminado = "quizás"
Comprueba "error number", 13, Err.Number And 65535
Comprueba "error source", "QevBackup", Err.Source
Comprueba "error description", "No coinciden los tipos", Err.Description
Err.Clear
copia.FormRestaurar
Comprueba "a member that is not there yet", 445, Err.Number And 65535
Err.Clear
copia.NoExiste
Comprueba "an unknown member", 438, Err.Number And 65535
On Error Goto 0

consola.RegDelete "HKLM\" & Clave & "\"
sistema.DeleteFolder carpeta, True
WScript.Quit fallos
