// A late-bound host in JScript: prints a line a check and "done" at the end, quits with the number of failures.
var failures = 0;

function check(what, expected, actual) {
  var same = expected === actual;
  WScript.Echo(same ? "ok   " + what : "FAIL " + what + ": expected [" + expected + "], got [" + actual + "]");
  if (!same) failures++;
}

var backup = new ActiveXObject("QevBackup.MCBackup");
check("Terminado before any window", "False", backup.Terminado);
backup.Titulo = "Gesti\u00F3n";
check("Titulo", "Gesti\u00F3n", backup.Titulo);
backup.DirBackup = "C:\\Copias\\";
check("DirBackup", "C:\\Copias\\", new ActiveXObject("QevBackup.MCBackup").DirBackup);
check("Aceptar", false, backup.Aceptar);
try {
  backup.Terminado = "nada";
  check("an unconvertible Terminado", "an error", "none");
} catch (error) {
  check("error number", 13, error.number & 0xFFFF);
  check("error text", "No coinciden los tipos", error.description);
}
var files = new ActiveXObject("Scripting.FileSystemObject");
var shell = new ActiveXObject("WScript.Shell");
var folder = "C:\\QevBackupScript";
var key = "HKLM\\Software\\QevBackupScriptTest\\";
if (files.FolderExists(folder)) files.DeleteFolder(folder, true);
files.CreateFolder(folder);
for (var i = 0; i < 12; i++) files.CreateTextFile(folder + "\\Backup" + i + ".qev").Close();
shell.RegWrite(key + "DirMDE", folder + "\\");
shell.RegWrite(key + "DirDatos", folder + "\\Datos\\Emp01\\");
files.CreateFolder(folder + "\\Datos");
backup.Registro = "Software\\QevBackupScriptTest";
backup.DirBackup = folder + "\\";
backup.CCopias();
check("CCopias keeps ten files where NCopias is missing", 10, files.GetFolder(folder).Files.Count);
files.DeleteFolder(folder, true);
shell.Run("reg delete HKLM\\Software\\QevBackupScriptTest /f", 0, true);
WScript.Echo("done");
WScript.Quit(failures);
