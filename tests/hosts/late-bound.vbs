' A late-bound host in VBScript: prints a line a check and "done" at the end, quits with the number of failures.
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

' The name of one file of a folder.
Function UnNombre(ruta)
  Dim fichero
  For Each fichero In sistema.GetFolder(ruta).Files
    UnNombre = fichero.Name
  Next
End Function

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

consola.RegWrite "HKLM\" & Clave & "\NCopias", "2"
sistema.CreateTextFile(carpeta & "\Backup\nota.txt").Write "nota"
sistema.CreateTextFile(carpeta & "\Backup\otra.txt").Write "otra"
copia.CCopias
Comprueba "CCopias keeps NCopias files", 2, sistema.GetFolder(carpeta & "\Backup").Files.Count
sistema.CreateFolder carpeta & "\Backup\Viejas"
sistema.CreateTextFile(carpeta & "\Backup\Viejas\vieja.qev").Write "vieja"
sistema.GetFile(carpeta & "\Backup\" & UnNombre(carpeta & "\Backup")).Attributes = 1
consola.RegWrite "HKLM\" & Clave & "\NCopias", 0, "REG_DWORD"
copia.CCopias
Comprueba "CCopias with 0 deletes every file, read-only too", 0, sistema.GetFolder(carpeta & "\Backup").Files.Count
Comprueba "CCopias leaves subfolders alone", True, sistema.FileExists(carpeta & "\Backup\Viejas\vieja.qev")
copia.DirBackup = carpeta & "\Nueva\"
copia.CCopias
Comprueba "CCopias makes a missing folder", True, sistema.FolderExists(carpeta & "\Nueva")
sistema.CreateTextFile(carpeta & "\Nueva\una.qev").Write "una"

On Error Resume Next
consola.RegWrite "HKLM\" & Clave & "\NCopias", "muchas"
copia.CCopias
Comprueba "an NCopias that is no number", 13, Err.Number And 65535
Err.Clear
consola.RegWrite "HKLM\" & Clave & "\NCopias", 40000, "REG_DWORD"
copia.CCopias
Comprueba "an NCopias beyond 16 bits", 6, Err.Number And 65535
Err.Clear
copia.DirBackup = "C:\No\Existe\"
copia.CCopias
Comprueba "a folder that cannot be made", 76, Err.Number And 65535
Comprueba "its source", "QevBackup", Err.Source
Comprueba "its description", "No se ha encontrado la ruta de acceso: C:\No\Existe\", Err.Description
Err.Clear
Comprueba "nothing was deleted", True, sistema.FileExists(carpeta & "\Nueva\una.qev")
copia.Terminado = "quizás"
Comprueba "error number", 13, Err.Number And 65535
Comprueba "error source", "QevBackup", Err.Source
Comprueba "error description", "No coinciden los tipos", Err.Description
Err.Clear
copia.NoExiste
Comprueba "an unknown member", 438, Err.Number And 65535
On Error Goto 0

consola.Run "reg delete HKLM\" & Clave & " /f", 0, True
sistema.DeleteFolder carpeta, True
WScript.Echo "done"
WScript.Quit fallos
