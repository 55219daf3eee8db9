#include "backup/EngineTexts.h"

namespace qev {

std::wstring zipCodeText(std::int32_t code) {
  switch (code) {
    case 2:
    case 3: return L"el archivo comprimido está dañado";
    case 4: return L"no hay memoria suficiente";
    case 5: return L"el motor está ocupado o ha tenido un error interno";
    case 6: return L"un archivo es demasiado grande";
    case 9: return L"se ha interrumpido";
    case 10: return L"no se ha podido escribir el archivo temporal";
    case 11: return L"no se ha podido leer el archivo comprimido";
    case 12: return L"no hay ningún archivo que copiar";
    case 13: return L"falta el nombre de la copia";
    case 14: return L"no se ha podido escribir la copia";
    case 15: return L"no se ha podido crear la copia";
    case 16: return L"las opciones del motor no son válidas";
    case 18: return L"no se han podido leer todos los archivos";
    default: return L"error del motor";
  }
}

std::wstring testCodeText(std::int32_t code) {
  switch (code) {
    case 2: return L"la estructura del archivo está dañada o algún archivo no es igual a lo que se copió";
    case 3: return L"la estructura del archivo está muy dañada";
    case 4:
    case 5:
    case 6:
    case 7: return L"no hay memoria suficiente para comprobarla";
    case 9:
    case 11: return L"no es un archivo comprimido o está vacío";
    case 12: return L"sus partes se solapan";
    case 51: return L"el archivo termina antes de lo debido";
    case 81: return L"un método de compresión no se reconoce";
    default: return L"la comprobación ha encontrado errores";
  }
}

}  // namespace qev
