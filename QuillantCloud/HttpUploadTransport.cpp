#include "QuillantCloud/HttpUploadTransport.h"

#include <utility>

#include "QuillantCloud/PresignedPut.h"

namespace quillant {

Task<> HttpUploadTransport::put(std::filesystem::path file, std::string url, std::string contentType,
                                Progress progress) {
  return PresignedPut::upload(*http_, std::move(file), std::move(url), std::move(contentType),
                              std::move(progress));
}

}  // namespace quillant
