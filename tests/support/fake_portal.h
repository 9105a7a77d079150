// A private session bus and a stand-in for the desktop portal's FileChooser,
// for the tests of the dialogs and of the flows behind them.
#pragma once

#include <dbus/dbus.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <signal.h>
#include <string>

// A private bus daemon for the test's lifetime.
struct Bus {
  std::string address;
  long pid = 0;
  Bus() {
    FILE* p = popen("dbus-daemon --session --fork --print-address=1 --print-pid=1 2>/dev/null", "r");
    if (!p) return;
    char line[512];
    if (fgets(line, sizeof line, p)) address = line;
    if (fgets(line, sizeof line, p)) pid = std::atol(line);
    pclose(p);
    while (!address.empty() && (address.back() == '\n' || address.back() == '\r')) address.pop_back();
  }
  ~Bus() {
    if (pid > 0) kill(pid_t(pid), SIGTERM);
  }
};

// Answers one FileChooser call: with code 0 and `uri`, or with `code`.
struct FakePortal {
  DBusConnection* c = nullptr;
  std::string method, title, token, currentName;
  std::atomic<bool> done{false};
  dbus_uint32_t code = 0;
  std::string uri;

  bool start(const std::string& address) {
    DBusError err;
    dbus_error_init(&err);
    c = dbus_connection_open_private(address.c_str(), &err);
    if (!c || !dbus_bus_register(c, &err)) return false;
    int r = dbus_bus_request_name(c, "org.freedesktop.portal.Desktop", DBUS_NAME_FLAG_DO_NOT_QUEUE, &err);
    dbus_error_free(&err);
    return r == DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER;
  }
  void readOptions(DBusMessageIter* it) {
    DBusMessageIter dict;
    dbus_message_iter_recurse(it, &dict);
    for (; dbus_message_iter_get_arg_type(&dict) == DBUS_TYPE_DICT_ENTRY; dbus_message_iter_next(&dict)) {
      DBusMessageIter entry, v;
      dbus_message_iter_recurse(&dict, &entry);
      const char* key = nullptr;
      dbus_message_iter_get_basic(&entry, &key);
      dbus_message_iter_next(&entry);
      dbus_message_iter_recurse(&entry, &v);
      if (dbus_message_iter_get_arg_type(&v) != DBUS_TYPE_STRING) continue;
      const char* value = nullptr;
      dbus_message_iter_get_basic(&v, &value);
      if (std::strcmp(key, "handle_token") == 0) token = value;
      if (std::strcmp(key, "current_name") == 0) currentName = value;
    }
  }
  void answer(DBusMessage* call) {
    method = dbus_message_get_member(call);
    DBusMessageIter args;
    dbus_message_iter_init(call, &args);
    dbus_message_iter_next(&args);  // parent window
    const char* t = nullptr;
    dbus_message_iter_get_basic(&args, &t);
    title = t;
    dbus_message_iter_next(&args);
    readOptions(&args);
    std::string sender = dbus_message_get_sender(call) + 1;
    for (char& ch : sender)
      if (ch == '.') ch = '_';
    std::string path = "/org/freedesktop/portal/desktop/request/" + sender + "/" + token;
    DBusMessage* reply = dbus_message_new_method_return(call);
    const char* p = path.c_str();
    dbus_message_append_args(reply, DBUS_TYPE_OBJECT_PATH, &p, DBUS_TYPE_INVALID);
    dbus_connection_send(c, reply, nullptr);
    dbus_message_unref(reply);
    DBusMessage* sig = dbus_message_new_signal(p, "org.freedesktop.portal.Request", "Response");
    DBusMessageIter out, dict, entry, var, list;
    dbus_message_iter_init_append(sig, &out);
    dbus_message_iter_append_basic(&out, DBUS_TYPE_UINT32, &code);
    dbus_message_iter_open_container(&out, DBUS_TYPE_ARRAY, "{sv}", &dict);
    dbus_message_iter_open_container(&dict, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
    const char* key = "uris";
    const char* u = uri.c_str();
    dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
    dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "as", &var);
    dbus_message_iter_open_container(&var, DBUS_TYPE_ARRAY, "s", &list);
    dbus_message_iter_append_basic(&list, DBUS_TYPE_STRING, &u);
    dbus_message_iter_close_container(&var, &list);
    dbus_message_iter_close_container(&entry, &var);
    dbus_message_iter_close_container(&dict, &entry);
    dbus_message_iter_close_container(&out, &dict);
    dbus_connection_send(c, sig, nullptr);
    dbus_connection_flush(c);
    dbus_message_unref(sig);
  }
  void serveOne() {
    while (!done) {
      dbus_connection_read_write(c, 50);
      while (DBusMessage* m = dbus_connection_pop_message(c)) {
        if (dbus_message_is_method_call(m, "org.freedesktop.portal.FileChooser", "OpenFile") ||
            dbus_message_is_method_call(m, "org.freedesktop.portal.FileChooser", "SaveFile")) {
          answer(m);
          done = true;
        }
        dbus_message_unref(m);
      }
    }
  }
  ~FakePortal() {
    if (c) {
      dbus_connection_close(c);
      dbus_connection_unref(c);
    }
  }
};
