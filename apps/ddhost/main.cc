// ddhost launcher. Loads the plug-in library the way a host application does (dlopen, from
// the lib folder beside bin/ unless --library names another file), then runs the host's
// application module, which talks to the library through its public API.
//
//   ddhost [--library PATH] [--engine PATH] <command> [arguments...]
#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
// Leak checking in sanitizer builds. The application module and the engine pull in FFmpeg's
// libraries and their dependencies with dlopen; their thread-local storage makes glibc resize
// the dynamic thread vector, and the leak checker's thread-local scan then faults on it at exit
// ("Tracer caught signal 11"), depending only on how the process's memory happens to be laid
// out. Our code keeps nothing in thread-local storage, so the scan is left out; what it would
// have found reachable is the loader's own bookkeeping and GLib's one-time allocations.
extern "C" const char* __lsan_default_options() { return "use_tls=0:print_suppressions=0"; }
extern "C" const char* __lsan_default_suppressions() {
  return "leak:_dl_resize_dtv\n"
         "leak:add_to_global_resize\n"
         "leak:libglib-2.0.so\n";
}
#endif

namespace {

std::string ExecutableDirectory() {
  char path[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
  if (n <= 0) return ".";
  path[n] = '\0';
  std::string s(path);
  size_t slash = s.rfind('/');
  return slash == std::string::npos ? "." : s.substr(0, slash);
}

bool FileExists(const std::string& path) { return access(path.c_str(), R_OK) == 0; }

// build/bin -> build/lib; <prefix>/bin -> <prefix>/lib (or lib64 / the multiarch folder).
std::string FindBesideLib(const std::string& name) {
  const std::string bin = ExecutableDirectory();
  for (const char* lib : {"/../lib/", "/../lib64/", "/../lib/x86_64-linux-gnu/", "/"}) {
    std::string candidate = bin + lib + name;
    if (FileExists(candidate)) return candidate;
  }
  return bin + "/../lib/" + name;
}

}  // namespace

int main(int argc, char** argv) {
  std::string library;
  std::vector<char*> rest{argv[0]};
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--library") == 0 && i + 1 < argc) {
      library = argv[++i];
    } else if (std::strncmp(argv[i], "--library=", 10) == 0) {
      library = argv[i] + 10;
    } else {
      rest.push_back(argv[i]);
    }
  }
  if (library.empty()) library = FindBesideLib("libdolbydigital.so");

  // RTLD_GLOBAL: the application module below links against the library by its soname and
  // must bind to this very copy.
  void* plugin = dlopen(library.c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (!plugin) {
    std::fprintf(stderr, "ddhost: cannot load the library %s: %s\n", library.c_str(), dlerror());
    return 2;
  }
  // RTLD_NODELETE: the application module pulls in libraries (libsoxr brings libgomp) whose
  // start-up allocations are only released at process exit; unloading them early would leave
  // those blocks unreachable and look like leaks to a leak checker.
  const std::string app_path = FindBesideLib("libddhost_app.so");
  void* app = dlopen(app_path.c_str(), RTLD_NOW | RTLD_NODELETE);
  if (!app) {
    std::fprintf(stderr, "ddhost: cannot load %s: %s\n", app_path.c_str(), dlerror());
    return 2;
  }
  using AppMain = int (*)(int, char**);
  auto app_main = reinterpret_cast<AppMain>(dlsym(app, "ddhost_app_main"));
  if (!app_main) {
    std::fprintf(stderr, "ddhost: %s has no entry point\n", app_path.c_str());
    return 2;
  }
  rest.push_back(nullptr);
  const int code = app_main(static_cast<int>(rest.size()) - 1, rest.data());
  dlclose(app);
  dlclose(plugin);
  return code;
}
