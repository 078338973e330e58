#include "Linux/Speech/KaldiLibrary.h"

#include <dlfcn.h>

#include "Core/Log.h"

namespace quillant {

namespace {

template <class Function>
bool find(void* library, const char* name, Function*& function) {
  function = reinterpret_cast<Function*>(::dlsym(library, name));
  return function != nullptr;
}

}  // namespace

std::optional<KaldiLibrary> KaldiLibrary::open(const std::filesystem::path& file) {
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return std::nullopt;
  KaldiLibrary library;
  if (find(handle, "vosk_set_log_level", library.setLogLevel) &&
      find(handle, "vosk_model_new", library.newModel) &&
      find(handle, "vosk_model_free", library.freeModel) &&
      find(handle, "vosk_recognizer_new", library.newRecognizer) &&
      find(handle, "vosk_recognizer_set_words", library.setWords) &&
      find(handle, "vosk_recognizer_accept_waveform", library.acceptWaveform) &&
      find(handle, "vosk_recognizer_result", library.result) &&
      find(handle, "vosk_recognizer_final_result", library.finalResult) &&
      find(handle, "vosk_recognizer_free", library.freeRecognizer))
    return library;
  Log::write("{} cannot be used to recognize speech: {}", file.string(), ::dlerror());
  ::dlclose(handle);
  return std::nullopt;
}

}  // namespace quillant
