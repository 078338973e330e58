#pragma once

#include <memory>
#include <string>
#include <utility>

#include "QuillantCloud/ClipboardWriting.h"

namespace quillant {

/// A clipboard for links, which tells the user of each.
class AnnouncedClipboard : public ClipboardWriting {
 public:
  /// `remark` stands in brackets behind what is told.
  explicit AnnouncedClipboard(std::shared_ptr<ClipboardWriting> clipboard, std::string remark = "")
      : clipboard_(std::move(clipboard)), remark_(std::move(remark)) {}

  Task<bool> write(std::string link) override;

 private:
  std::shared_ptr<ClipboardWriting> clipboard_;
  std::string remark_;
};

}  // namespace quillant
