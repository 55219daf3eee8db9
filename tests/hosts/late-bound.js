// A late-bound host in JScript: prints a line a check, quits with the number of failures.
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
WScript.Quit(failures);
