// The number of every control on the dialog layouts, form and control joined. Code, tests and outside tools find a
// control by these.
#pragma once

#define FBackup_Metodo 101
#define FBackup_TOrigen 102
#define FBackup_TDestino 103
#define FBackup_TResultado 104
#define FBackup_ESalida 105
#define FBackup_ImgResultado 106
#define FBackup_Tiempo 107
#define FBackup_BAceptar 1 /* IDOK: the default button */
#define FBackup_Label1 108
#define FBackup_Label2 109
#define FBackup_Label3 110
#define FBackup_Label4 111
#define FBackup_Label5 112
#define FBackup_Image2 113
#define FBackup_Shape1 114
#define FBackup_Progreso 115
