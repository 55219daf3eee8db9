' A small host of the library: title, settings key, and one request after another.
'
'   cscript //nologo gestion.vbs [auto | prog | copiar | opciones | restaurar | ccopias | menu]
'
'   auto       automatic backup, as when the program closes
'   prog       scheduled backup, into the folder of the settings
'   copiar     the dialog for a backup by hand
'   opciones   the settings of backups and their schedule
'   restaurar  the dialog for restoring a set
'   ccopias    deletes the oldest sets
'   menu       asks for one of these again and again
'
' Without an argument cscript makes an automatic backup, wscript shows the menu.
'
' The host's set-up has written DirDatos and DirMDE under HKEY_LOCAL_MACHINE\Software\Gestion.
'
' This host has no database. One that has closes it before auto, prog, copiar and restaurar, and opens it again after.
Option Explicit

Const Titulo = "Gestion"
Dim copia, pedido
Set copia = CreateObject("QevBackup.MCBackup")
copia.Titulo = Titulo
copia.Registro = "Software\Gestion"
ActivaModoSeguro

If WScript.Arguments.Count > 0 Then
  pedido = LCase(WScript.Arguments(0))
ElseIf InStr(LCase(WScript.FullName), "wscript") > 0 Then
  pedido = "menu"
Else
  pedido = "auto"
End If

If pedido = "menu" Then
  Menu
Else
  UnaVez pedido
End If

' Only in safe mode is a success proof that the set holds every file of the data as it is.
Sub ActivaModoSeguro
  Const Valor = "HKLM\Software\Gestion\Verificar"
  Dim consola, activo
  Set consola = CreateObject("WScript.Shell")
  activo = 0
  On Error Resume Next
  activo = consola.RegRead(Valor)
  On Error Goto 0
  If activo <> 1 Then consola.RegWrite Valor, 1, "REG_DWORD"
End Sub

' One request, and what the object says after it.
Sub UnaVez(que)
  Dim conocido, fallo
  On Error Resume Next
  conocido = Ejecuta(que)
  fallo = Err.Number
  If fallo <> 0 Then WScript.Echo "Error " & (fallo And 65535) & ": " & Err.Description
  On Error Goto 0
  If fallo <> 0 Then WScript.Quit 1
  If Not conocido Then
    WScript.Echo "gestion.vbs [auto | prog | copiar | opciones | restaurar | ccopias | menu]"
    WScript.Quit 2
  End If
  WScript.Echo "DirBackup=" & copia.DirBackup
  WScript.Echo "Terminado=" & copia.Terminado
  If que = "copiar" Then WScript.Echo "Aceptar=" & copia.Aceptar
End Sub

' Does what is asked; False for what is not known.
Function Ejecuta(que)
  Ejecuta = True
  Select Case que
  Case "auto"
    copia.CopiaAuto
  Case "prog"
    copia.Destino
    copia.CopiaProg
  Case "copiar"
    copia.FormCopiar
  Case "opciones"
    copia.FormOpciones
  Case "restaurar"
    copia.FormRestaurar
  Case "ccopias"
    copia.CCopias
  Case Else
    Ejecuta = False
  End Select
End Function

' Shows the menu until the user leaves it. An error of a request is told, and the menu comes back.
Sub Menu
  Dim pedidos, textos, numero
  pedidos = Array("auto", "prog", "copiar", "opciones", "restaurar", "ccopias")
  textos = Array("Copia de seguridad automática", "Copia de seguridad programada", "Crear una copia", _
    "Configuración", "Restaurar una copia", "Borrar las copias más antiguas")
  Do
    numero = Elegida(textos)
    If numero < 0 Then Exit Do
    On Error Resume Next
    Ejecuta pedidos(numero)
    If Err.Number <> 0 Then MsgBox Err.Description, vbExclamation, Titulo
    Err.Clear
    On Error Goto 0
  Loop
End Sub

' The entry that the user chose, counted from 0; -1 to leave.
Function Elegida(textos)
  Dim lista, aviso, respuesta, i
  For i = 0 To UBound(textos)
    lista = lista & vbCrLf & (i + 1) & "  " & textos(i)
  Next
  Do
    On Error Resume Next
    respuesta = Trim(InputBox(aviso & "¿Qué desea hacer?" & vbCrLf & lista, Titulo))
    If Err.Number <> 0 Then
      Err.Clear
      Elegida = ElegidaUnaAUna(textos)
      Exit Function
    End If
    On Error Goto 0
    Elegida = -1
    If respuesta = "" Then Exit Function
    For i = 0 To UBound(textos)
      If respuesta = CStr(i + 1) Then Elegida = i
    Next
    aviso = "Escriba un número del 1 al " & (UBound(textos) + 1) & "." & vbCrLf & vbCrLf
  Loop While Elegida < 0
End Function

' The same where the script host has no input box: entry by entry, round and round.
Function ElegidaUnaAUna(textos)
  Dim i, respuesta
  i = 0
  Do
    respuesta = MsgBox("¿" & textos(i) & "?" & vbCrLf & vbCrLf & "Sí: hacerlo. No: ver la siguiente. Cancelar: salir.", _
      vbYesNoCancel + vbQuestion, Titulo)
    If respuesta = vbNo Then i = (i + 1) Mod (UBound(textos) + 1)
  Loop While respuesta = vbNo
  ElegidaUnaAUna = -1
  If respuesta = vbYes Then ElegidaUnaAUna = i
End Function
