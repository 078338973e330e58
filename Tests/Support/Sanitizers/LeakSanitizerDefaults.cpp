// Read by the leak sanitizer's runtime as a program starts.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
  // Fontconfig keeps what it read of the fonts until the process ends.
  return "leak:libfontconfig\n";
}
