' Uninstalls as the list of installed programs says and prints the exit code. "wait" as an argument: waits for the end, as
' the set-up of another program does; the uninstaller works at its place then.
Const Entrada = "HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\QevBackup\"
Dim consola, orden
Set consola = CreateObject("WScript.Shell")
orden = consola.RegRead(Entrada & "QuietUninstallString")
If WScript.Arguments.Count > 0 Then orden = orden & " _?=" & consola.RegRead(Entrada & "InstallLocation")
WScript.Echo "code " & consola.Run(orden, 0, True)
