// Linked into every test program of a thread sanitizer build: what it cannot know is right.
//
// An exception that one thread throws and another catches is counted by references inside the standard
// library, which is not built for the sanitizer: it sees the last release free what the other thread has
// read.
extern "C" const char* __tsan_default_suppressions() {
  return "race:std::__exception_ptr::exception_ptr::_M_release\n";
}
