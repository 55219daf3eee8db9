#include "platform/AutomationError.h"

namespace qev {

std::wstring describeError(std::int32_t number) {
  switch (number) {
    case kInvalidCall: return L"La llamada a procedimiento o el argumento no son válidos";
    case kOverflow: return L"Desbordamiento";
    case kOutOfMemory: return L"Memoria insuficiente";
    case kSubscriptOutOfRange: return L"El subíndice está fuera del intervalo";
    case kDivisionByZero: return L"División por cero";
    case kTypeMismatch: return L"No coinciden los tipos";
    case kCannotLoadLibrary: return L"Error al cargar la biblioteca";
    case kFileNotFound: return L"No se ha encontrado el archivo";
    case kDeviceInputOutput: return L"Error de entrada o salida del dispositivo";
    case kFileExists: return L"El archivo ya existe";
    case kDiskFull: return L"Disco lleno";
    case kPermissionDenied: return L"Permiso denegado";
    case kDiskNotReady: return L"El disco no está preparado";
    case kPathFileAccess: return L"Error de acceso a la ruta o al archivo";
    case kPathNotFound: return L"No se ha encontrado la ruta de acceso";
    case kFormAlreadyShown: return L"El formulario ya se está mostrando";
    case kNoSuchMember: return L"El objeto no admite esta propiedad o método";
    case kActionNotSupported: return L"El objeto no admite esta acción";
    case kEntryPointNotFound: return L"No se ha encontrado el punto de entrada de la biblioteca";
    default: return L"Error definido por la aplicación o el objeto";
  }
}

std::wstring describeCurrentError() {
  try {
    throw;
  } catch (const AutomationError& error) {
    return error.description();
  } catch (...) {
    return describeError(kOutOfMemory);
  }
}

AutomationError::AutomationError(ErrorNumber number, const std::wstring& detail)
    : AutomationError(std::int32_t{number}, L"QevBackup",
                      describeError(number) + (detail.empty() ? L"" : L": " + detail)) {}

AutomationError::AutomationError(std::int32_t number, std::wstring source, std::wstring description)
    : number_(number), source_(std::move(source)), description_(std::move(description)) {
  what_ = std::to_string(number_) + " ";
  for (const wchar_t c : description_) what_ += c >= 32 && c < 127 ? static_cast<char>(c) : '?';
}

}  // namespace qev
