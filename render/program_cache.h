// program_cache.h — linked programs kept across runs as driver binaries, so
// a type met before never waits for the compiler again.
//
// A file per program text, named by the text's SHA-256, holds the driver's
// vendor, renderer and version strings, the binary format, a checksum of the
// binary and the binary itself. Whatever does not match (another driver, an
// edited text, a damaged byte) or does not link is rebuilt from the text
// without a word; a folder that cannot be written only loses the cache.
#pragma once

#include "render/handles.h"

#include <string>

struct ProgramCache {
  std::string folder;              // empty: no cache (nothing read or written)
  std::string driver;              // vendor, renderer and version, one per line
  bool supported = false;          // the driver offers at least one binary format
  int loaded = 0;                  // programs taken from the cache this run
  int stored = 0;                  // programs written to it this run
};

// The driver's strings and whether it can hand out binaries; needs a current
// context with the GL table loaded.
void openProgramCache(ProgramCache& c, const std::string& folder);

// The file a program of these texts is kept in.
std::string programCachePath(const ProgramCache& c, const std::string& vertex, const std::string& fragment);

// A linked program from the cache, or none (id 0) when there is none that
// this driver takes.
Program loadCachedProgram(ProgramCache& c, const std::string& vertex, const std::string& fragment);
// Keeps a freshly linked program; any failure only costs the cache.
void storeCachedProgram(ProgramCache& c, Program program, const std::string& vertex,
                        const std::string& fragment);
