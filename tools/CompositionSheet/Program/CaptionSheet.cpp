#include "tools/CompositionSheet/Program/CaptionSheet.h"

#include <cmath>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "Core/Text.h"
#include "DrawKit/Canvas.h"
#include "Editor/Captions/CaptionLayout.h"
#include "Editor/Composition/CaptionRenderer.h"

namespace quillant {

namespace {

constexpr const char* texts[] = {
    "Où êtes-vous, Zoë? Ångström, Łódź, façade, Việt Nam: ĞÜŞİ ÇÖÉ ẤỂỘ, naïve jumping.",
    "مرحبا بكم في هذا العرض، نسجل الشاشة ثم Quillant 2.0 يضيف الترجمة إلى الفيديو.",
    "שָׁלוֹם לְכֻלָּם, היום נקליט את המסך ואז Quillant יוסיף כתוביות לסרטון שלנו.",
    "大家好， 今天 我们 来 录制 屏幕 并且 为 这个 视频 添加 字幕， 然后 导出 成品 文件。",
    "こんにちは、 今日は 画面を 録画して 字幕を 付けます。",
    "안녕하세요, 오늘은 화면을 녹화하고 자막을 추가하겠습니다.",
    "नमस्ते दोस्तों, आज हम स्क्रीन रिकॉर्ड करेंगे और इस वीडियो में शीर्षक जोड़ेंगे।",
    "สวัสดี ทุกคน วันนี้ เราจะ บันทึก หน้าจอ และ เพิ่ม คำบรรยาย ที่นี่ ผู้ใหญ่ กู้",
    "Great 🎉 family 👨‍👩‍👧 flag 🇸🇪 thumb 👍🏽 heart ❤️ and a smile 😀 at the "
    "end "
    "🙂.",
};

CaptionBlock spoken(std::string_view text) {
  CaptionBlock block{.start = 0};
  for (const auto word : Text::words(text)) {
    block.words.push_back({std::string(word), block.end, block.end + 1});
    block.end += 1;
  }
  const auto words = Text::words(text);
  block.lines = CaptionLayout::lines(words);
  return block;
}

}  // namespace

PixelBufferRef captionSheet(TimelineCaptionStyle style, double frameHeight) {
  const Size frame{std::round(frameHeight * 16 / 9), frameHeight};
  const double shown = std::ceil(frameHeight * 0.27);  // of a frame, from its bottom up
  Canvas canvas(static_cast<int>(frame.width), static_cast<int>(shown * std::size(texts)));
  const SerializableColor light{0.75, 0.8, 0.7}, dark{0.25, 0.3, 0.35};
  CaptionRenderer renderer;
  double top = 0;
  for (const char* text : texts) {
    canvas.fill(Path().rectangle({0, top, frame.width / 2, shown}), light);
    canvas.fill(Path().rectangle({frame.width / 2, top, frame.width / 2, shown}), dark);
    const auto block = spoken(text);
    const auto image = renderer.image(PreparedCaptions({{block}, style}), std::floor(block.end / 2), frame);
    if (image) {
      const Rect place = image->bounds();
      canvas.draw(*std::get<PixelBufferRef>(image->source),
                  {place.x, place.y - (frame.height - shown) + top});
    }
    top += shown;
  }
  return std::move(canvas).take();
}

}  // namespace quillant
