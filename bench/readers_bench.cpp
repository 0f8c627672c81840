// Reading one number of a thousand hot ones among fifty thousand, in random order: RegQueryValueExA with the keys
// open, beside the settings readers of this platform on the same numbers. No session bus takes part.
//
//   registry          RegQueryValueExA of a DWORD by its name
//   dconf             dconf_client_read of a whole path from the user's binary database, and the number out of the
//                     variant; each read asks the shared flag whether the database was written
//   gsettings/dconf   g_settings_get_int of objects of a relocatable schema, over the same database
//   gsettings/keyfile the same over GLib's key file backend
//   key_file          g_key_file_get_integer: group and key found in memory, the number parsed out of its text
#define G_SETTINGS_ENABLE_BACKEND
#include <benchmark/benchmark.h>
#include <dconf.h>
#include <gio/gio.h>
#include <gio/gsettingsbackend.h>
#include <stdlib.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/settings.h"

namespace {

using namespace bench;
namespace fs = std::filesystem;

constexpr char schema[] = "org.vendor.bench";

// The other readers' names have neither capitals nor backslashes.
std::string group_of(unsigned key) { return "vendor/bench/product" + std::to_string(key); }
std::string plain_name(unsigned value) { return "window-height" + std::to_string(value); }

void run_or_throw(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error(command);
}

// The same numbers as a key file, compiled from that a database of dconf, and a schema. The environment leads there.
class Folder {
 public:
  Folder() : path_((fs::temp_directory_path() / "kvbench.XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("mkdtemp");
    for (const char* name : {"/keys", "/dconf", "/schemas", "/run"}) fs::create_directory(path_ + name);
    write_key_file();
    write_schema();
    std::ofstream(path_ + "/profile") << "user-db:user\n";
    run_or_throw("dconf compile " + path_ + "/dconf/user " + path_ + "/keys");
    run_or_throw("glib-compile-schemas " + path_ + "/schemas");
    set_environment();
  }
  ~Folder() { fs::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string key_file() const { return path_ + "/keys/numbers"; }

 private:
  void write_key_file() const {
    std::ofstream out(key_file());
    for (unsigned i = 0; i < key_count; ++i) {
      out << '[' << group_of(i) << "]\n";
      for (unsigned j = 0; j < values_of_a_key; ++j) out << plain_name(j) << '=' << number_of(i, j) << '\n';
    }
  }
  void write_schema() const {
    std::ofstream out(path_ + "/schemas/" + schema + ".gschema.xml");
    out << "<schemalist><schema id=\"" << schema << "\">\n";
    for (unsigned j = 0; j < values_of_a_key; ++j) {
      out << "<key name=\"" << plain_name(j) << "\" type=\"i\"><default>-1</default></key>\n";
    }
    out << "</schema></schemalist>\n";
  }
  void set_environment() const {
    setenv("XDG_CONFIG_HOME", path_.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (path_ + "/run").c_str(), 1);
    setenv("DCONF_PROFILE", (path_ + "/profile").c_str(), 1);
    setenv("GSETTINGS_SCHEMA_DIR", (path_ + "/schemas").c_str(), 1);
    setenv("GSETTINGS_BACKEND", "dconf", 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path_ + "/no-bus").c_str(), 1);
  }

  std::string path_;
};

const Folder& folder() {
  static const Folder made;
  return made;
}

const std::vector<Hot_Value>& hot() {
  static const std::vector<Hot_Value> values = pick_hot(hot_values);
  return values;
}

DWORD expected(const Hot_Value& value) { return number_of(value.key, value.value); }

// What each reader names a hot value by.
struct Place {
  std::string group;
  std::string name;
  std::string path;
};

std::vector<Place> places() {
  std::vector<Place> made;
  for (const Hot_Value& value : hot()) {
    const std::string group = group_of(value.key);
    const std::string name = plain_name(value.value);
    made.push_back({group, name, '/' + group + '/' + name});
  }
  return made;
}

// read: gives the number of the i-th hot value.
template <class Read>
void run(benchmark::State& state, Read read) {
  for (std::size_t i = 0; i < hot().size(); ++i) {
    if (read(i) != expected(hot()[i])) return state.SkipWithError("another number was read");
  }
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(read(next));
    next = next + 1 == hot_values ? 0 : next + 1;
  }
}

void read_registry(benchmark::State& state) {
  const std::vector<HKEY>& keys = settings().keys;
  run(state, [&](std::size_t i) { return get_number(keys[hot()[i].key], hot()[i].name.c_str()); });
}

void read_dconf(benchmark::State& state) {
  folder();
  DConfClient* const client = dconf_client_new();
  const std::vector<Place> named = places();
  run(state, [&](std::size_t i) {
    GVariant* const value = dconf_client_read(client, named[i].path.c_str());
    const DWORD number = value == nullptr ? 0 : static_cast<DWORD>(g_variant_get_int32(value));
    if (value != nullptr) g_variant_unref(value);
    return number;
  });
  g_object_unref(client);
}

void read_gsettings(benchmark::State& state, GSettingsBackend* backend) {
  std::vector<GSettings*> keys;
  for (unsigned i = 0; i < key_count; ++i) {
    const std::string path = '/' + group_of(i) + '/';
    keys.push_back(g_settings_new_with_backend_and_path(schema, backend, path.c_str()));
  }
  const std::vector<Place> named = places();
  run(state,
      [&](std::size_t i) { return static_cast<DWORD>(g_settings_get_int(keys[hot()[i].key], named[i].name.c_str())); });
  for (GSettings* key : keys) g_object_unref(key);
  g_object_unref(backend);
}

void read_gsettings_dconf(benchmark::State& state) {
  folder();
  GSettingsBackend* const backend = g_settings_backend_get_default();
  if (std::string(G_OBJECT_TYPE_NAME(backend)) != "DConfSettingsBackend") {
    g_object_unref(backend);
    return state.SkipWithError("GSettings has no backend of dconf");
  }
  read_gsettings(state, backend);
}

void read_gsettings_keyfile(benchmark::State& state) {
  read_gsettings(state, g_keyfile_settings_backend_new(folder().key_file().c_str(), "/", nullptr));
}

void read_key_file(benchmark::State& state) {
  GKeyFile* const file = g_key_file_new();
  g_key_file_load_from_file(file, folder().key_file().c_str(), G_KEY_FILE_NONE, nullptr);
  const std::vector<Place> named = places();
  run(state, [&](std::size_t i) {
    return static_cast<DWORD>(g_key_file_get_integer(file, named[i].group.c_str(), named[i].name.c_str(), nullptr));
  });
  g_key_file_free(file);
}

BENCHMARK(read_registry)->Name("reader/registry");
BENCHMARK(read_dconf)->Name("reader/dconf");
BENCHMARK(read_gsettings_dconf)->Name("reader/gsettings/dconf");
BENCHMARK(read_gsettings_keyfile)->Name("reader/gsettings/keyfile");
BENCHMARK(read_key_file)->Name("reader/key_file");

}  // namespace
