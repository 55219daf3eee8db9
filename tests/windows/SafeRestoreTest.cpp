// Restores with the setting Verificar, and what restores leave in the log: the real dialog and window, files and
// engine.
#include "windows/RestoreForms.h"

#include "support/ScriptedEngine.h"

namespace qev::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class SafeRestore : public RestoreForms {
 protected:
  void SetUp() override {
    RestoreForms::SetUp();
    fake_.registry.put(kKey, L"Verificar", std::int32_t{1});
    fake_.workFolder.folder = folder_ / L"trabajo";
    folder_.makeFolder(L"trabajo\\temp");
  }

  // A set with a byte of its second entry changed.
  static std::string damagedSet() {
    std::string bytes =
        header() + zipOf({storedEntry("clientes.txt", "clientes"), storedEntry("otro.txt", "contenido")});
    bytes[bytes.find("contenido")] ^= 1;
    return bytes;
  }

  std::string log() const { return folder_.bytes(L"trabajo\\registro.log"); }

  Platform withWorkFolder_ = with(platform_, fake_.workFolder);

  // As restore(), with a work folder of the test's own; the text of the result, and the last line of the window.
  std::wstring restoreTo(const std::wstring& set, const std::wstring& folder) {
    std::wstring result;
    runOn(withWorkFolder_, [&](HWND form) {
      begin(form, set, folder);
      const HWND window = ended();
      if (!window) return;
      result = textOf(window, FPRestaura_TResultado);
      lastLine_ = textOf(window, FPRestaura_ESalida);
      click(window, FPRestaura_BAceptar);
      if (result.empty()) leave(form);
    });
    return result;
  }

  std::wstring lastLine_;
};

TEST_F(SafeRestore, OfADamagedSetNothingIsRestoredAndTheMessageSaysSo) {
  const std::wstring set = putSet(damagedSet());
  folder_.write(L"destino\\clientes.txt", "los de ahora");
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  EXPECT_EQ(L"", restoreTo(set, target()));
  ASSERT_EQ(2u, texts().size());
  EXPECT_THAT(texts()[1], StartsWith(L"La copia de seguridad está dañada. No se ha restaurado nada: los datos siguen "
                                     L"como estaban.\r\n\r\n" +
                                     set + L"\r\n\r\n2-"));
  EXPECT_THAT(texts()[1], HasSubstr(L"otro.txt"));
  EXPECT_EQ(L"Se han producido errores", lastLine_);
  EXPECT_EQ("los de ahora", folder_.bytes(L"destino\\clientes.txt"));
  EXPECT_THAT(folder_.list(L"destino"), ElementsAre(L"clientes.txt"));
  EXPECT_TRUE(contentOf(set) == damagedSet()) << "the set stays what it is";
  EXPECT_THAT(folder_.list(L"trabajo\\temp"), IsEmpty());
  EXPECT_THAT(log(), HasSubstr(" Restauraci\xC3\xB3n: Gestion de prueba\r\n  Resultado: con errores\r\n"));
  EXPECT_THAT(log(), HasSubstr("  Comprobada: no\r\n"));
}

TEST_F(SafeRestore, ASetThatEndsTooEarlyIsNotRestored) {
  const std::string whole = header() + archive();
  const std::wstring set = putSet(whole.substr(0, whole.size() - 40));
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  EXPECT_EQ(L"", restoreTo(set, target()));
  EXPECT_THAT(texts().back(), StartsWith(L"La copia de seguridad está dañada."));
  EXPECT_FALSE(std::filesystem::exists(target()));
}

TEST_F(SafeRestore, WithoutItADamagedSetIsRestoredAsFarAsItGoes) {
  fake_.registry.put(kKey, L"Verificar", std::int32_t{0});
  const std::wstring set = putSet(damagedSet());
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok});
  EXPECT_EQ(success(set, target()), restoreTo(set, target()));
  EXPECT_EQ("clientes", folder_.bytes(L"destino\\clientes.txt"));
  EXPECT_EQ("<none>", folder_.bytes(L"destino\\otro.txt"));
  EXPECT_THAT(log(), HasSubstr("  Resultado: correcto\r\n  Avisos del motor: c\xC3\xB3"
                               "digo 2, "));
  EXPECT_THAT(log(), Not(HasSubstr("Comprobada")));
}

TEST_F(SafeRestore, AGoodSetIsTestedAndRestored) {
  const std::wstring set = putSet(header() + archive());
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set, target()), restoreTo(set, target()));
  EXPECT_EQ("clientes", folder_.bytes(L"destino\\clientes.txt"));
  EXPECT_EQ("facturas de enero", folder_.bytes(L"destino\\Datos\\facturas.txt"));
  EXPECT_THAT(log(), HasSubstr("  Resultado: correcto\r\n  Copia: "));
  EXPECT_THAT(log(), HasSubstr("  Archivos: 2\r\n  Bytes: 25\r\n"));
  EXPECT_THAT(log(), HasSubstr("  Comprobada: s\xC3\xAD\r\n"));
}

TEST_F(SafeRestore, TheTestComesFirstAndTheWindowSaysSoWhileItLasts) {
  ScriptedUnzip engine;
  std::vector<std::pair<UnzipMode, std::wstring>> runs;
  engine.work = [&] {
    runs.emplace_back(engine.request.mode, textOf(findForm(kTitle), FPRestaura_ESalida));
    return 0;
  };
  loadEngine_ = engine.loader();
  const std::wstring set = putSet(header() + archive());
  fake_.messages.willAnswer({Answer::Yes});
  EXPECT_EQ(success(set, target()), restoreTo(set, target()));
  ASSERT_EQ(2u, runs.size());
  EXPECT_EQ(std::make_pair(UnzipMode::Test, std::wstring(L"Comprobando la copia de seguridad...")), runs[0]);
  EXPECT_EQ(UnzipMode::Extract, runs[1].first);
  EXPECT_EQ(L"Espere un momento, por favor... ", runs[1].second);
}

TEST_F(SafeRestore, ASetOnDisksIsTestedWhenItIsJoined) {
  const std::string bytes = damagedSet().substr(header().size());
  for (const int number : {1, 2}) {
    const std::size_t half = bytes.size() / 2;
    const std::string name = std::to_string(number);
    folder_.write(L"disco" + std::to_wstring(number) + L"\\copia.qev",
                  header("Gestion de prueba", "16/11/2026", "2", name) +
                      (number == 1 ? bytes.substr(0, half) : bytes.substr(half)));
  }
  fake_.messages.onShow = [this](const FakeMessages::Shown& shown) {
    for (const wchar_t* number : {L"1", L"2"}) {
      if (shown.text == std::wstring(L"Introduzca el disco ") + number + L" para continuar") {
        files_.insert(folder_ / (std::wstring(L"disco") + number));
      }
    }
  };
  files_.insert(folder_ / L"disco1");
  fake_.messages.willAnswer({Answer::Yes, Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(L"", restoreTo(L"A:\\copia.qev", target()));
  EXPECT_THAT(texts().back(), StartsWith(L"La copia de seguridad está dañada."));
  EXPECT_FALSE(std::filesystem::exists(target()));
}

}  // namespace
}  // namespace qev::test
