// Linked programs kept across runs as driver binaries in the cache folder.
#include "render/program_cache.h"

#include "io/files.h"
#include "model/sha256.h"
#include "render/gl.h"

#include <array>
#include <string_view>
#include <vector>

namespace {

// A program binary is a few megabytes at most; a larger file is not ours.
constexpr size_t kCacheFileLimit = size_t(64) << 20;
constexpr const char* kMagic = "QTXPROG 1";

std::string hex(const std::array<uint8_t, 32>& d) {
  static const char digits[] = "0123456789abcdef";
  std::string s;
  for (uint8_t b : d) {
    s += digits[b >> 4];
    s += digits[b & 15];
  }
  return s;
}

std::string sourceHash(const std::string& vertex, const std::string& fragment) {
  std::string both = vertex;
  both.append(1, '\0').append(fragment);
  return hex(sha256(both));
}

std::string glText(GLenum name) {
  const GLubyte* s = gl.GetString(name);
  return s ? reinterpret_cast<const char*>(s) : "";
}

// The header: magic, source hash, the driver's three lines, format, the
// binary's hash and length, each ending in a newline; the binary follows.
std::string header(const ProgramCache& c, const std::string& hash, GLenum format, const std::string& payload) {
  std::string h = kMagic;
  h += '\n' + hash + '\n' + c.driver + '\n' + std::to_string(format) + '\n' + hex(sha256(payload)) + '\n' +
       std::to_string(payload.size()) + '\n';
  return h;
}

}  // namespace

void openProgramCache(ProgramCache& c, const std::string& folder) {
  c.folder = folder;
  // A newline inside a driver string would shift the header's lines.
  auto line = [](std::string s) {
    for (char& ch : s)
      if (ch == '\n' || ch == '\r') ch = ' ';
    return s;
  };
  c.driver = line(glText(GL_VENDOR)) + '\n' + line(glText(GL_RENDERER)) + '\n' + line(glText(GL_VERSION));
  GLint formats = 0;
  gl.GetIntegerv(GL_NUM_PROGRAM_BINARY_FORMATS, &formats);
  c.supported = formats > 0;
}

std::string programCachePath(const ProgramCache& c, const std::string& vertex, const std::string& fragment) {
  return c.folder + "/" + sourceHash(vertex, fragment) + ".bin";
}

Program loadCachedProgram(ProgramCache& c, const std::string& vertex, const std::string& fragment) {
  if (c.folder.empty() || !c.supported) return {};
  std::string file, reason;
  if (!readFileLimited(programCachePath(c, vertex, fragment), kCacheFileLimit, file, reason)) return {};
  // Eight header lines: magic, hash, vendor, renderer, version, format, binary hash, length.
  size_t pos = 0;
  std::vector<std::string_view> lines;
  for (int i = 0; i < 8; ++i) {
    const size_t end = file.find('\n', pos);
    if (end == std::string::npos) return {};
    lines.emplace_back(file.data() + pos, end - pos);
    pos = end + 1;
  }
  const std::string payload = file.substr(pos);
  unsigned long format = 0;
  try {
    format = std::stoul(std::string(lines[5]));
  } catch (...) {
    return {};
  }
  if (header(c, sourceHash(vertex, fragment), GLenum(format), payload) != file.substr(0, pos)) return {};
  while (gl.GetError() != GL_NO_ERROR) {
  }
  const GLuint program = gl.CreateProgram();
  gl.ProgramBinary(program, GLenum(format), payload.data(), GLsizei(payload.size()));
  GLint ok = 0;
  gl.GetProgramiv(program, GL_LINK_STATUS, &ok);
  if (!ok || gl.GetError() != GL_NO_ERROR) {
    gl.DeleteProgram(program);
    return {};
  }
  ++c.loaded;
  return Program{program};
}

void storeCachedProgram(ProgramCache& c, Program program, const std::string& vertex,
                        const std::string& fragment) {
  if (c.folder.empty() || !c.supported || !program.id) return;
  GLint length = 0;
  gl.GetProgramiv(program.id, GL_PROGRAM_BINARY_LENGTH, &length);
  if (length <= 0) return;
  std::string payload(size_t(length), '\0');
  GLsizei written = 0;
  GLenum format = 0;
  gl.GetProgramBinary(program.id, length, &written, &format, payload.data());
  if (written <= 0) return;
  payload.resize(size_t(written));
  const std::string file = header(c, sourceHash(vertex, fragment), format, payload) + payload;
  if (writeFileAtomic(programCachePath(c, vertex, fragment), file)) ++c.stored;
}
