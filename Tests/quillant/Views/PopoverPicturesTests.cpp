#include <QImage>
#include <gtest/gtest.h>
#include <set>

#include "Tests/Support/TemporaryFolder.h"
#include "quillant/Views/PopoverPictures.h"

namespace quillant {
namespace {

/// How many of the pixels have another colour than the corner.
double drawn(const QImage& image) {
  int count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) count += image.pixel(x, y) != image.pixel(0, 0) ? 1 : 0;
  return static_cast<double>(count) / (image.width() * image.height());
}

TEST(PopoverPictures, ShowEveryStateInBothThemesAndBothSizes) {
  const TemporaryFolder folder;
  std::set<std::string> written;
  PopoverPictures::write(folder / "shots", [&](const auto& file) { written.insert(file.stem().string()); });
  const auto picture = [&](const std::string& name) {
    return QImage(QString::fromStdString((folder / "shots" / (name + ".png")).string()));
  };
  std::set<std::string> states;
  for (const auto& name : written) {
    const auto image = picture(name);
    EXPECT_GT(drawn(image), 0.03) << name;
    if (name.ends_with("@2x")) {
      EXPECT_EQ(image.size(), picture(name.substr(0, name.size() - 3)).size() * 2) << name;
    } else if (name.ends_with("-dark")) {
      const auto state = name.substr(0, name.size() - 5);
      states.insert(state);
      EXPECT_LT(qGray(image.pixel(0, 0)), qGray(picture(state + "-light").pixel(0, 0))) << name;
    }
  }
  EXPECT_GE(states.size(), 13U);
  EXPECT_EQ(written.size(), states.size() * 4);
  EXPECT_NE(picture("display-light"), picture("recording-light"));
}

}  // namespace
}  // namespace quillant
