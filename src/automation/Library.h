// The library as a whole: the values that all objects share, and the count that says when it may be unloaded.
#pragma once

#include "controls/FormSession.h"
#include "platform/Platform.h"
#include "settings/HostSettings.h"
#include "settings/SettingsStore.h"

namespace qev {

// One a process, made on first use, kept until the library is unloaded.
struct Library {
  Platform& platform = systemPlatform();
  HostSettings host;
  FormSession session;
  SettingsStore settings{platform.registry, host.settingsKey};
};

Library& library();

// While one lives, the library is in use: objects, class objects, server locks, members that are running.
class LibraryUse {
 public:
  LibraryUse() { begin(); }
  LibraryUse(const LibraryUse&) = delete;
  LibraryUse& operator=(const LibraryUse&) = delete;
  ~LibraryUse() { end(); }

  static void begin();
  static void end();
  static bool any();
};

}  // namespace qev
