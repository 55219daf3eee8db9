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

#define Backup_Copia0 201
#define Backup_Copia1 202
#define Backup_Copia2 203
#define Backup_Programar 204
#define Backup_HoraInicio 205
#define Backup_DDias 206
#define Backup_DSemanas 207
#define Backup_DMes 208
#define Backup_DSem0 210
#define Backup_DSem1 211
#define Backup_DSem2 212
#define Backup_DSem3 213
#define Backup_DSem4 214
#define Backup_DSem5 215
#define Backup_DSem6 216
#define Backup_Mes0 220
#define Backup_Mes1 221
#define Backup_Mes2 222
#define Backup_Mes3 223
#define Backup_Mes4 224
#define Backup_Mes5 225
#define Backup_Mes6 226
#define Backup_Mes7 227
#define Backup_Mes8 228
#define Backup_Mes9 229
#define Backup_Mes10 230
#define Backup_Mes11 231
#define Backup_Destino 240
#define Backup_BCarpeta 241
#define Backup_EDir 242
#define Backup_Cerrar 243
#define Backup_TCopias 244
#define Backup_UltimaCopia 245
#define Backup_PCopia 246
#define Backup_Estado 247
#define Backup_TextoProg 248
#define Backup_EFin 250
#define Backup_ECada 251
#define Backup_Edia 252
#define Backup_EHora 253
#define Backup_ERCopia 254
#define Backup_Edias 255
#define Backup_ESemanas 256
#define Backup_EMes 257
#define Backup_EMaximo 258
#define Backup_BSalir 1 /* IDOK: the default button */
#define Backup_P 260
#define Backup_Frame1 261
#define Backup_Frame2 262
#define Backup_Frame3 263
#define Backup_Frame4 264
#define Backup_Label1 265
#define Backup_Label2 266
#define Backup_LoadError 270 /* a timer */

#define FCopiar_TDestino 301
#define FCopiar_Archivo 302
#define FCopiar_TNArchivo 303
#define FCopiar_BCopiar 1   /* IDOK: the default button */
#define FCopiar_BCancelar 2 /* IDCANCEL: Esc and the close box */
#define FCopiar_Label1 304
#define FCopiar_Label2 305
#define FCopiar_Label3 306
#define FCopiar_Label4 307
#define FCopiar_Image1 308

#define FRestaurar_P 401
#define FRestaurar_BCargar 402
#define FRestaurar_TNombre 403
#define FRestaurar_TFecha 404
#define FRestaurar_TNVol 405
#define FRestaurar_TTipo 406
#define FRestaurar_TDestino 407
#define FRestaurar_BCarpeta 408
#define FRestaurar_TEstructura 409
#define FRestaurar_BRestaurar 1 /* IDOK: the default button */
#define FRestaurar_BCancelar 2  /* IDCANCEL: Esc and the close box */
#define FRestaurar_Label1 410
#define FRestaurar_Label2 411
#define FRestaurar_Label3 412
#define FRestaurar_Label4 413
#define FRestaurar_Label5 414
#define FRestaurar_Label6 415

#define FPRestaura_P 501
#define FPRestaura_TOrigen 502
#define FPRestaura_TDestino 503
#define FPRestaura_TResultado 504
#define FPRestaura_ImgResultado 505
#define FPRestaura_ESalida 506
#define FPRestaura_BAceptar 1 /* IDOK: the default button */
#define FPRestaura_Tiempo 507
#define FPRestaura_Progreso 508
#define FPRestaura_Label1 509
#define FPRestaura_Label2 510
#define FPRestaura_Label3 511
#define FPRestaura_Label4 512
#define FPRestaura_Shape1 513

#define TextPrompt_Prompt 901
#define TextPrompt_Text 902
#define TextPrompt_Accept 1 /* IDOK: the default button */
#define TextPrompt_Cancel 2 /* IDCANCEL: Esc and the close box */
