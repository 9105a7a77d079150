// dialogs_linux.cpp — open and save dialogs on Linux: the desktop portal's
// FileChooser over the session bus, else zenity as a child process, else
// "unavailable" so that the caller can say how to name a file instead.
//
// Neither way may freeze the window for good: both wait in short slices,
// pumping the window's events between them, and give up after a time limit.
//
// Index
//   [SECTION] Helpers
//   [SECTION] Desktop portal
//   [SECTION] zenity
//   [SECTION] Entry points
#include "platform/platform.h"

#include <SDL.h>
#include <dbus/dbus.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fcntl.h>
#include <cstdlib>
#include <cstring>

extern char** environ;

namespace platform {
namespace {

// A person choosing a file gets a generous while; a helper that hangs is
// given up after it.
constexpr double kDialogLimitSeconds = 600;
constexpr int kPortalCallMs = 5000;  // the portal's first answer (the request handle)

// [SECTION] Helpers

// Keeps the window answering the desktop (pings, expose) while a dialog is up;
// the events wait in the queue for the loop.
void pumpWindow() {
  if (SDL_WasInit(SDL_INIT_VIDEO)) SDL_PumpEvents();
}

bool executableOnPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  if (!path) return false;
  std::string all = path;
  size_t start = 0;
  while (start <= all.size()) {
    size_t end = all.find(':', start);
    if (end == std::string::npos) end = all.size();
    std::string dir = all.substr(start, end - start);
    if (dir.empty()) dir = ".";
    std::string full = dir + "/" + name;
    struct stat st {};
    if (stat(full.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(full.c_str(), X_OK) == 0) return true;
    start = end + 1;
  }
  return false;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// "file:///home/a/%D0%BC%D0%B8%D1%80.json" to the path; empty for other schemes.
std::string pathFromFileUri(const std::string& uri) {
  const std::string prefix = "file://";
  if (uri.compare(0, prefix.size(), prefix) != 0) return {};
  std::string rest = uri.substr(prefix.size());
  size_t slash = rest.find('/');
  if (slash == std::string::npos) return {};
  rest = rest.substr(slash);  // drops a host name such as "localhost"
  std::string out;
  for (size_t i = 0; i < rest.size(); ++i) {
    int hi = rest[i] == '%' && i + 2 < rest.size() ? hexValue(rest[i + 1]) : -1;
    int lo = hi >= 0 ? hexValue(rest[i + 2]) : -1;
    if (rest[i] == '%' && hi >= 0 && lo >= 0) {
      out += char(hi * 16 + lo);
      i += 2;
    } else {
      out += rest[i];
    }
  }
  return out;
}

// [SECTION] Desktop portal

// The session bus, only when one is named: asking libdbus to find one
// otherwise may start a bus daemon of its own.
DBusConnection* sessionBus() {
  const char* env = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  std::string address = env ? env : "";
  if (address.empty()) {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    struct stat st {};
    std::string socket = runtime ? std::string(runtime) + "/bus" : "";
    if (socket.empty() || stat(socket.c_str(), &st) != 0 || !S_ISSOCK(st.st_mode)) return nullptr;
    address = "unix:path=" + socket;
  }
  DBusError err;
  dbus_error_init(&err);
  DBusConnection* c = dbus_connection_open_private(address.c_str(), &err);
  if (c && !dbus_bus_register(c, &err)) {
    dbus_connection_close(c);
    dbus_connection_unref(c);
    c = nullptr;
  }
  dbus_error_free(&err);
  if (c) dbus_connection_set_exit_on_disconnect(c, false);
  return c;
}

void closeBus(DBusConnection* c) {
  dbus_connection_close(c);
  dbus_connection_unref(c);
}

void appendVariantString(DBusMessageIter* dict, const char* key, const std::string& value) {
  DBusMessageIter entry, variant;
  const char* v = value.c_str();
  dbus_message_iter_open_container(dict, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
  dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
  dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "s", &variant);
  dbus_message_iter_append_basic(&variant, DBUS_TYPE_STRING, &v);
  dbus_message_iter_close_container(&entry, &variant);
  dbus_message_iter_close_container(dict, &entry);
}

void appendVariantBool(DBusMessageIter* dict, const char* key, bool value) {
  DBusMessageIter entry, variant;
  dbus_bool_t v = value;
  dbus_message_iter_open_container(dict, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
  dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
  dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "b", &variant);
  dbus_message_iter_append_basic(&variant, DBUS_TYPE_BOOLEAN, &v);
  dbus_message_iter_close_container(&entry, &variant);
  dbus_message_iter_close_container(dict, &entry);
}

// A folder as the portal wants it: bytes with a closing zero.
void appendVariantBytes(DBusMessageIter* dict, const char* key, const std::string& value) {
  DBusMessageIter entry, variant, array;
  dbus_message_iter_open_container(dict, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
  dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
  dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "ay", &variant);
  dbus_message_iter_open_container(&variant, DBUS_TYPE_ARRAY, "y", &array);
  const char* bytes = value.c_str();
  dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &bytes, int(value.size() + 1));
  dbus_message_iter_close_container(&variant, &array);
  dbus_message_iter_close_container(&entry, &variant);
  dbus_message_iter_close_container(dict, &entry);
}

// filters: a(sa(us)), 0 meaning a glob pattern.
void appendVariantFilters(DBusMessageIter* dict, const std::vector<FileFilter>& filters) {
  DBusMessageIter entry, variant, list;
  const char* key = "filters";
  dbus_message_iter_open_container(dict, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
  dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
  dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "a(sa(us))", &variant);
  dbus_message_iter_open_container(&variant, DBUS_TYPE_ARRAY, "(sa(us))", &list);
  for (const auto& f : filters) {
    DBusMessageIter one, patterns;
    const char* name = f.name.c_str();
    dbus_message_iter_open_container(&list, DBUS_TYPE_STRUCT, nullptr, &one);
    dbus_message_iter_append_basic(&one, DBUS_TYPE_STRING, &name);
    dbus_message_iter_open_container(&one, DBUS_TYPE_ARRAY, "(us)", &patterns);
    for (const auto& p : f.patterns) {
      DBusMessageIter pair;
      dbus_uint32_t glob = 0;
      const char* text = p.c_str();
      dbus_message_iter_open_container(&patterns, DBUS_TYPE_STRUCT, nullptr, &pair);
      dbus_message_iter_append_basic(&pair, DBUS_TYPE_UINT32, &glob);
      dbus_message_iter_append_basic(&pair, DBUS_TYPE_STRING, &text);
      dbus_message_iter_close_container(&patterns, &pair);
    }
    dbus_message_iter_close_container(&one, &patterns);
    dbus_message_iter_close_container(&list, &one);
  }
  dbus_message_iter_close_container(&variant, &list);
  dbus_message_iter_close_container(&entry, &variant);
  dbus_message_iter_close_container(dict, &entry);
}

struct PortalRequest {
  bool save = false;
  std::string title, folder, proposedName;
  std::vector<FileFilter> filters;
};

// The request object the portal will answer on: derived from our unique
// name and a token of our own, so the match is in place before the call.
std::string requestPath(DBusConnection* c, const std::string& token) {
  std::string sender = dbus_bus_get_unique_name(c);
  if (!sender.empty() && sender[0] == ':') sender.erase(0, 1);
  for (char& ch : sender)
    if (ch == '.') ch = '_';
  return "/org/freedesktop/portal/desktop/request/" + sender + "/" + token;
}

void watchResponse(DBusConnection* c, const std::string& path) {
  std::string rule = "type='signal',interface='org.freedesktop.portal.Request',member='Response',path='" + path + "'";
  dbus_bus_add_match(c, rule.c_str(), nullptr);
}

DBusMessage* portalCall(const PortalRequest& q, const std::string& token) {
  DBusMessage* m = dbus_message_new_method_call("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                                                "org.freedesktop.portal.FileChooser",
                                                q.save ? "SaveFile" : "OpenFile");
  DBusMessageIter args, dict;
  dbus_message_iter_init_append(m, &args);
  const char* parent = "";
  const char* title = q.title.c_str();
  dbus_message_iter_append_basic(&args, DBUS_TYPE_STRING, &parent);
  dbus_message_iter_append_basic(&args, DBUS_TYPE_STRING, &title);
  dbus_message_iter_open_container(&args, DBUS_TYPE_ARRAY, "{sv}", &dict);
  appendVariantString(&dict, "handle_token", token);
  appendVariantBool(&dict, "modal", true);
  if (!q.filters.empty()) appendVariantFilters(&dict, q.filters);
  if (!q.folder.empty()) appendVariantBytes(&dict, "current_folder", q.folder);
  if (q.save && !q.proposedName.empty()) appendVariantString(&dict, "current_name", q.proposedName);
  dbus_message_iter_close_container(&args, &dict);
  return m;
}

// The first "uris" entry of the Response's results.
std::string firstUri(DBusMessageIter* results) {
  if (dbus_message_iter_get_arg_type(results) != DBUS_TYPE_ARRAY) return {};
  DBusMessageIter dict;
  dbus_message_iter_recurse(results, &dict);
  for (; dbus_message_iter_get_arg_type(&dict) == DBUS_TYPE_DICT_ENTRY; dbus_message_iter_next(&dict)) {
    DBusMessageIter entry, variant, list;
    dbus_message_iter_recurse(&dict, &entry);
    const char* key = nullptr;
    dbus_message_iter_get_basic(&entry, &key);
    if (!key || std::strcmp(key, "uris") != 0) continue;
    dbus_message_iter_next(&entry);
    dbus_message_iter_recurse(&entry, &variant);
    if (dbus_message_iter_get_arg_type(&variant) != DBUS_TYPE_ARRAY) return {};
    dbus_message_iter_recurse(&variant, &list);
    if (dbus_message_iter_get_arg_type(&list) != DBUS_TYPE_STRING) return {};
    const char* uri = nullptr;
    dbus_message_iter_get_basic(&list, &uri);
    return uri ? uri : "";
  }
  return {};
}

// Reads a Response signal: Chosen with the path, or Cancelled.
DialogResult readResponse(DBusMessage* m, std::string& path) {
  DBusMessageIter args;
  dbus_uint32_t code = 2;
  if (!dbus_message_iter_init(m, &args) || dbus_message_iter_get_arg_type(&args) != DBUS_TYPE_UINT32)
    return DialogResult::Cancelled;
  dbus_message_iter_get_basic(&args, &code);
  if (code != 0) return DialogResult::Cancelled;
  dbus_message_iter_next(&args);
  path = pathFromFileUri(firstUri(&args));
  return path.empty() ? DialogResult::Cancelled : DialogResult::Chosen;
}

void closeRequest(DBusConnection* c, const std::string& handle) {
  DBusMessage* m = dbus_message_new_method_call("org.freedesktop.portal.Desktop", handle.c_str(),
                                                "org.freedesktop.portal.Request", "Close");
  dbus_connection_send(c, m, nullptr);
  dbus_connection_flush(c);
  dbus_message_unref(m);
}

// Waits for the Response on `handle`, pumping the window between slices.
DialogResult awaitResponse(DBusConnection* c, const std::string& handle, std::string& path) {
  double deadline = now() + kDialogLimitSeconds;
  while (now() < deadline) {
    if (!dbus_connection_read_write(c, 50)) return DialogResult::Unavailable;  // the bus went away
    while (DBusMessage* m = dbus_connection_pop_message(c)) {
      bool ours = dbus_message_is_signal(m, "org.freedesktop.portal.Request", "Response") &&
                  dbus_message_get_path(m) && handle == dbus_message_get_path(m);
      DialogResult r = ours ? readResponse(m, path) : DialogResult::Unavailable;
      dbus_message_unref(m);
      if (ours) return r;
    }
    pumpWindow();
  }
  closeRequest(c, handle);
  return DialogResult::Unavailable;
}

DialogResult portalDialog(const PortalRequest& q, std::string& path) {
  DBusConnection* c = sessionBus();
  if (!c) return DialogResult::Unavailable;
  static int counter = 0;
  std::string token = "quorvantelix" + std::to_string(getpid()) + "_" + std::to_string(++counter);
  std::string handle = requestPath(c, token);
  watchResponse(c, handle);
  DBusMessage* call = portalCall(q, token);
  DBusError err;
  dbus_error_init(&err);
  DBusMessage* reply = dbus_connection_send_with_reply_and_block(c, call, kPortalCallMs, &err);
  dbus_message_unref(call);
  DialogResult r = DialogResult::Unavailable;
  if (reply) {
    // An older portal may answer on another object than the one foreseen.
    const char* given = nullptr;
    if (dbus_message_get_args(reply, &err, DBUS_TYPE_OBJECT_PATH, &given, DBUS_TYPE_INVALID) && given &&
        handle != given) {
      handle = given;
      watchResponse(c, handle);
    }
    dbus_message_unref(reply);
    r = awaitResponse(c, handle, path);
  }
  dbus_error_free(&err);
  closeBus(c);
  return r;
}

// [SECTION] zenity

std::vector<std::string> zenityArgs(const PortalRequest& q) {
  std::vector<std::string> a = {"zenity", "--file-selection", "--title=" + q.title};
  if (q.save) {
    a.push_back("--save");
    a.push_back("--confirm-overwrite");
  }
  std::string start = q.folder.empty() ? std::string() : q.folder + "/";
  if (q.save) start += q.proposedName;
  if (!start.empty()) a.push_back("--filename=" + start);
  for (const auto& f : q.filters) {
    std::string spec = "--file-filter=" + f.name + " |";
    for (const auto& p : f.patterns) spec += " " + p;
    a.push_back(spec);
  }
  return a;
}

// Runs the helper, collecting its output; the window is pumped meanwhile and
// the helper is ended after the limit. Returns the exit status, -1 when it
// could not run or was ended.
int runHelper(const std::vector<std::string>& args, std::string& out) {
  int pipeFd[2];
  if (pipe(pipeFd) != 0) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipeFd[1], 1);
  posix_spawn_file_actions_addclose(&actions, pipeFd[0]);
  // The helper's warnings (themes, settings stores) are not ours to show.
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  std::vector<char*> argv;
  for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t pid = 0;
  int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipeFd[1]);
  if (rc != 0) {
    close(pipeFd[0]);
    return -1;
  }
  double deadline = now() + kDialogLimitSeconds;
  bool open = true;
  while (open && now() < deadline) {
    pollfd p{pipeFd[0], POLLIN, 0};
    if (poll(&p, 1, 50) > 0) {
      char buf[4096];
      ssize_t n = read(pipeFd[0], buf, sizeof buf);
      if (n > 0) out.append(buf, size_t(n));
      else if (n == 0 || errno != EINTR) open = false;
    }
    pumpWindow();
  }
  close(pipeFd[0]);
  if (open) kill(pid, SIGTERM);  // past the limit
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (open || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

DialogResult zenityDialog(const PortalRequest& q, std::string& path) {
  if (!executableOnPath("zenity")) return DialogResult::Unavailable;
  std::string out;
  int status = runHelper(zenityArgs(q), out);
  while (!out.empty() && (out.back() == '\n' || out.back() == '\r')) out.pop_back();
  if (status == 0 && !out.empty()) {
    path = out;
    return DialogResult::Chosen;
  }
  // 1 is the user's cancel; anything else (no display, killed) means no dialog.
  return status == 1 ? DialogResult::Cancelled : DialogResult::Unavailable;
}

DialogResult runDialog(const PortalRequest& q, std::string& path) {
  path.clear();
  DialogResult r = portalDialog(q, path);
  if (r == DialogResult::Unavailable) r = zenityDialog(q, path);
  if (r != DialogResult::Chosen) path.clear();
  return r;
}

}  // namespace

// [SECTION] Entry points

DialogResult openFileDialog(Window* w, const std::string& title, const std::vector<FileFilter>& filters,
                            const std::string& folder, std::string& path) {
  if (isHeadless(w) && w) return DialogResult::Unavailable;  // nobody could answer it
  PortalRequest q;
  q.title = title;
  q.filters = filters;
  q.folder = folder;
  return runDialog(q, path);
}

DialogResult saveFileDialog(Window* w, const std::string& title, const std::vector<FileFilter>& filters,
                            const std::string& folder, const std::string& proposedName, std::string& path) {
  if (isHeadless(w) && w) return DialogResult::Unavailable;
  PortalRequest q;
  q.save = true;
  q.title = title;
  q.filters = filters;
  q.folder = folder;
  q.proposedName = proposedName;
  return runDialog(q, path);
}

}  // namespace platform
