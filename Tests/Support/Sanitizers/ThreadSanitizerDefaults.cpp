// Linked into the programs of a thread sanitizer build: what the sanitizer cannot know is right, as it sees
// only half of what happens in libraries that are not built for it.
//
// - An exception that one thread throws and another catches is counted by references inside the standard
// library.
// - GLib has locks of its own, and Pango and fontconfig hand their fonts from thread to thread by it.
// - FFmpeg counts its references with atomics, by the last of which one thread frees what another has filled.
// - libXau writes the name of its file, always the same, into one buffer for every connection.
// - PulseAudio hands a mutex that it has made to its thread in ways that the sanitizer does not see. (Its
// locking as such must stay visible: it is what guards our callbacks.)
extern "C" const char* __tsan_default_suppressions() {
  return "race:std::__exception_ptr::exception_ptr::_M_release\n"
         "race:av_malloc\n"
         "race:libavcodec.so\n"
         "race:XauFileName\n"
         "race:pa_mutex_lock\n"
         "called_from_lib:libglib-2.0.so\n"
         "called_from_lib:libgobject-2.0.so\n"
         "called_from_lib:libgio-2.0.so\n"
         "called_from_lib:libsecret-1.so\n"
         "called_from_lib:libpango-1.0.so\n"
         "called_from_lib:libpangoft2-1.0.so\n"
         "called_from_lib:libpangocairo-1.0.so\n"
         "called_from_lib:libfontconfig.so\n";
}
