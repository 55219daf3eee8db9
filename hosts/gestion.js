// A small host of the library in JScript: title, settings key, and one request.
//
//   cscript //nologo gestion.js [auto | prog | copiar | opciones | restaurar | ccopias]
//
//   auto       automatic backup, as when the program closes (also without an argument)
//   prog       scheduled backup, into the folder of the settings
//   copiar     the dialog for a backup by hand
//   opciones   the settings of backups and their schedule
//   restaurar  the dialog for restoring a set
//   ccopias    deletes the oldest sets
//
// The host's set-up has written DirDatos and DirMDE under HKEY_LOCAL_MACHINE\Software\Gestion.
//
// This host has no database. One that has closes it before auto, prog, copiar and restaurar, and opens it again after.
var requests = {
  auto: function (backup) { backup.CopiaAuto(); },
  prog: function (backup) { backup.Destino(); backup.CopiaProg(); },
  copiar: function (backup) { backup.FormCopiar(); },
  opciones: function (backup) { backup.FormOpciones(); },
  restaurar: function (backup) { backup.FormRestaurar(); },
  ccopias: function (backup) { backup.CCopias(); }
};

// Only in safe mode is a success proof that the set holds every file of the data as it is.
function turnSafeModeOn() {
  var value = "HKLM\\Software\\Gestion\\Verificar";
  var shell = new ActiveXObject("WScript.Shell");
  var current = 0;
  try {
    current = shell.RegRead(value);
  } catch (error) {
    current = 0;  // it is not there
  }
  if (current !== 1) shell.RegWrite(value, 1, "REG_DWORD");
}

function start() {
  turnSafeModeOn();
  var backup = new ActiveXObject("QevBackup.MCBackup");
  backup.Titulo = "Gestion";
  backup.Registro = "Software\\Gestion";
  backup.Terminado = "False";
  return backup;
}

function tellOutcome(backup, request) {
  WScript.Echo("DirBackup=" + backup.DirBackup);
  WScript.Echo("Terminado=" + backup.Terminado);
  if (request === "copiar") WScript.Echo("Aceptar=" + (backup.Aceptar ? "True" : "False"));
}

// The exit code: 0 done, 1 an error, 2 a request that is not known.
function main(request) {
  if (!requests.hasOwnProperty(request)) {
    WScript.Echo("gestion.js [auto | prog | copiar | opciones | restaurar | ccopias]");
    return 2;
  }
  try {
    var backup = start();
    requests[request](backup);
    tellOutcome(backup, request);
    return 0;
  } catch (error) {
    WScript.Echo("Error " + (error.number & 0xFFFF) + ": " + error.description);
    return 1;
  }
}

WScript.Quit(main(WScript.Arguments.length > 0 ? WScript.Arguments(0).toLowerCase() : "auto"));
