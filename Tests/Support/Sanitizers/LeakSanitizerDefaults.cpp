// Read by the leak sanitizer's runtime as a program starts.
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_options() {
  // What is suppressed is no message of the program.
  return "print_suppressions=0";
}

extern "C" const char* __lsan_default_suppressions() {
  // Fontconfig keeps what it read of the fonts until the process ends.
  return "leak:libfontconfig\n";
}
