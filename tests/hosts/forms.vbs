' A host that opens the dialogs of the library, for somebody who uses them from outside: prints a line a check
' and "done" at the end, quits with the number of failures.
Option Explicit
Const Clave = "Software\QevBackupFormTest"
Dim fallos, copia, consola, sistema, carpeta
fallos = 0

Sub Comprueba(que, esperado, obtenido)
  If esperado = obtenido Then
    WScript.Echo "ok   " & que
  Else
    WScript.Echo "FAIL " & que & ": expected [" & esperado & "], got [" & obtenido & "]"
    fallos = fallos + 1
  End If
End Sub

' Takes away what a run has left. Of one that was interrupted the host may still hold a file, for a moment.
Sub Limpia
  Dim i
  consola.Run "reg delete HKLM\" & Clave & " /f", 0, True
  On Error Resume Next
  For i = 1 To 50
    If Not sistema.FolderExists(carpeta) Then Exit For
    sistema.DeleteFolder carpeta, True
    If sistema.FolderExists(carpeta) Then WScript.Sleep 200
  Next
End Sub

Set consola = CreateObject("WScript.Shell")
Set sistema = CreateObject("Scripting.FileSystemObject")
carpeta = "C:\QevBackupForms"
Limpia
sistema.CreateFolder carpeta
sistema.CreateFolder carpeta & "\Datos"
sistema.CreateFolder carpeta & "\Datos\Emp01"
sistema.CreateFolder carpeta & "\Copias"
sistema.CreateTextFile(carpeta & "\Datos\Emp01\señas.txt").Write "Ibáñez"
consola.RegWrite "HKLM\" & Clave & "\DirDatos", carpeta & "\Datos\Emp01\"
consola.RegWrite "HKLM\" & Clave & "\DirMDE", carpeta & "\"

Set copia = CreateObject("QevBackup.MCBackup")
copia.Titulo = "Copias de prueba"
copia.Registro = Clave

' The user cancels.
copia.FormCopiar
Comprueba "Aceptar after Cancelar", False, copia.Aceptar
Comprueba "Terminado after Cancelar", "True", copia.Terminado

' The user names a folder and a set, and goes ahead.
copia.Terminado = "False"
copia.FormCopiar
Comprueba "Aceptar after a backup", True, copia.Aceptar
Comprueba "Terminado after a backup", "True", copia.Terminado
Comprueba "the set is there", True, sistema.FileExists(carpeta & "\Copias\A mano.qev")
Comprueba "Estado", "Ultima copia de seguridad realizada correctamente", consola.RegRead("HKLM\" & Clave & "\Estado")

' The user looks at the settings and leaves.
copia.Terminado = "False"
copia.FormOpciones
Comprueba "Terminado after the settings", "True", copia.Terminado
Comprueba "opening the settings writes the defaults", 1, CInt(consola.RegRead("HKLM\" & Clave & "\Copia"))

Limpia
WScript.Echo "done"
WScript.Quit fallos
