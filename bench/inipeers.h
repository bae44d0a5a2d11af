// The readers of INI files that measurements compare with, as far as they were there at the build.
#pragma once

#ifdef HAVE_INIH
#include <ini.h>
#endif
#ifdef HAVE_GLIB
#include <glib.h>

#include <memory>
#endif

#include <cstdio>

#include "bench/measure.h"

namespace vorlix::bench {

#ifdef HAVE_GLIB
struct FreeKeys {
  void operator()(GKeyFile* keys) const { g_key_file_free(keys); }
};
using GlibKeys = std::unique_ptr<GKeyFile, FreeKeys>;

inline GlibKeys ReadGlib(const char* path, GKeyFileFlags flags = G_KEY_FILE_NONE) {
  GlibKeys keys(g_key_file_new());
  Expect(g_key_file_load_from_file(keys.get(), path, flags, nullptr) != 0, "GKeyFile reads nothing");
  return keys;
}
#endif

/// Says which of them were not there.
inline void PrintMissingPeers() {
#ifndef HAVE_INIH
  std::puts("inih is not there: its rows are left out");
#endif
#ifndef HAVE_GLIB
  std::puts("GLib is not there: its rows are left out");
#endif
}

}  // namespace vorlix::bench
