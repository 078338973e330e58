#pragma once

#include <string_view>

#include "Editor/Captions/SpeechRecognizing.h"

namespace quillant::WhisperTranscript {

/// What whisper.cpp's full JSON says was heard in a sound of `duration` seconds: the pieces of words that the
/// model speaks in, joined to words. Its language is the model's name for it; none of its times is outside of
/// the sound. Pure. Throws `JSONError` if the text is no such JSON.
RecognizedSpeech read(std::string_view json, double duration);

}  // namespace quillant::WhisperTranscript
