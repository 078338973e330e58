#pragma once

#include <span>
#include <string>

#include "Editor/Captions/TranscriptDocument.h"

namespace quillant::TranscriptText {

/// The words that are heard, as plain text: a line for each paragraph. Pure; any thread.
std::string make(std::span<const TranscriptParagraph> paragraphs);

}  // namespace quillant::TranscriptText
