// What a module leaves in its process when it goes.
//
// libstdc++ takes memory when a module is loaded, for exceptions that are thrown when there is no more (73 KiB; the
// "emergency pool" of libsupc++), and gives it back only when it is asked to, by a function that it has for programs
// that look for leaks. A host that loads a module again and again would have one more of them each time: each backup
// loads its engines and lets them go.
namespace __gnu_cxx {
void __freeres();
}

namespace {

// Made before everything else in the module, so it goes after everything else that could throw.
struct ExceptionPool {
  ~ExceptionPool() { __gnu_cxx::__freeres(); }
} pool __attribute__((init_priority(101)));

}  // namespace
