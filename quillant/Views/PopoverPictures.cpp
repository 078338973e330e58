#include "quillant/Views/PopoverPictures.h"

#include <QApplication>
#include <QFont>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QStyleFactory>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "Core/AtomicFile.h"
#include "quillant/Models/PopoverViewState.h"
#include "quillant/Views/PopoverView.h"
#include "quillant/Views/Theme.h"

namespace quillant::PopoverPictures {

namespace {

struct State {
  std::string name;
  PopoverInputs inputs;
};

/// A desktop as it might be.
PixelBufferRef desktop(const QColor& from, const QColor& to) {
  const auto image = std::make_shared<QImage>(296, 166, QImage::Format_RGB32);
  QPainter painter(image.get());
  QLinearGradient sky(0, 0, image->width(), image->height());
  sky.setColorAt(0, from);
  sky.setColorAt(1, to);
  painter.fillRect(image->rect(), sky);
  painter.fillRect(QRect(40, 30, 150, 100), Qt::white);
  painter.fillRect(QRect(40, 30, 150, 14), QColor(0xd5, 0xd5, 0xda));
  painter.end();
  auto picture = std::make_shared<PixelBuffer>();
  picture->width = image->width();
  picture->height = image->height();
  picture->planes[0] = {.data = image->bits(), .stride = static_cast<int>(image->bytesPerLine())};
  picture->memory = image;
  return picture;
}

PopoverInputs usual() {
  PopoverInputs inputs;
  inputs.popoverOpen = true;
  inputs.permissions = {PermissionState::granted, PermissionState::granted, PermissionState::granted};
  inputs.freeBytes = 80'000'000'000;
  inputs.displays = {{.id = 1, .isMain = true, .name = "eDP-1"}, {.id = 2, .name = "HDMI-1"}};
  inputs.selectedDisplayID = 1;
  inputs.thumbnails = {{1, desktop({0x2b, 0x5d, 0x8c}, {0x8f, 0xc1, 0xd6})},
                       {2, desktop({0x4a, 0x35, 0x6b}, {0xd0, 0x8a, 0x9c})}};
  inputs.windows = {{.id = 11,
                     .title = "Quarterly report — a title that is longer than the list is wide",
                     .appName = "Editor"},
                    {.id = 12, .title = "Inbox", .appName = "Mail"},
                    {.id = 13, .title = "~/projects", .appName = "Terminal"}};
  inputs.mics = {{"a", "Built-in microphone"}, {"b", "Headset with a long name, of a brand that is longer"}};
  inputs.cameras = {{"c", "Integrated camera"}};
  inputs.micOn = true;
  inputs.micLevel = 0.6;
  inputs.shortcutLabel = "Ctrl+Shift+R";
  return inputs;
}

std::vector<State> states() {
  std::vector<State> result;
  const auto add = [&](std::string name, const std::function<void(PopoverInputs&)>& change) {
    auto inputs = usual();
    change(inputs);
    result.push_back({std::move(name), std::move(inputs)});
  };
  add("display", [](PopoverInputs&) {});
  add("window", [](PopoverInputs& inputs) {
    inputs.mode = SourceMode::window;
    inputs.selectedWindowID = 12;
  });
  add("no-window", [](PopoverInputs& inputs) {
    inputs.mode = SourceMode::window;
    inputs.windows.clear();
  });
  add("area", [](PopoverInputs& inputs) { inputs.mode = SourceMode::area; });
  add("camera", [](PopoverInputs& inputs) { inputs.cameraOn = true; });
  add("nothing-attached", [](PopoverInputs& inputs) {
    inputs.mics.clear();
    inputs.cameras.clear();
    inputs.thumbnails.clear();
  });
  add("no-microphone-permission",
      [](PopoverInputs& inputs) { inputs.permissions.microphone = PermissionState::denied; });
  add("permissions", [](PopoverInputs& inputs) {
    inputs.permissions = {PermissionState::denied, PermissionState::notDetermined, PermissionState::granted};
  });
  add("restart", [](PopoverInputs& inputs) {
    inputs.permissions.screenRecording = PermissionState::grantedAfterRestart;
  });
  add("disk-warn", [](PopoverInputs& inputs) { inputs.freeBytes = 4'900'000'000; });
  add("disk-block", [](PopoverInputs& inputs) { inputs.freeBytes = 1'200'000'000; });
  add("updating", [](PopoverInputs& inputs) { inputs.update = UpdateProgress{"1.4.0", 0.42}; });
  add("recording", [](PopoverInputs& inputs) { inputs.phase = RecordingCoordinator::Phase::recording; });
  return result;
}

void save(PopoverView& view, double scale, const std::filesystem::path& file) {
  QImage image(view.size() * scale, QImage::Format_RGB32);
  image.setDevicePixelRatio(scale);
  image.fill(view.palette().color(QPalette::Window));
  view.render(&image);
  if (!image.save(QString::fromStdString(file.string())))
    throw FileError("write", file, std::make_error_code(std::errc::io_error));
}

}  // namespace

void write(const std::filesystem::path& folder,
           const std::function<void(const std::filesystem::path&)>& onWritten) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw FileError("make", folder, error);

  qputenv("QT_QPA_PLATFORM", "offscreen");
  int count = 1;
  std::string name = "quillant";
  char* arguments[] = {name.data(), nullptr};
  QApplication application(count, arguments);
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  QApplication::setFont(QFont("Noto Sans", 10));
  for (const auto& [theme, palette] : {std::pair("light", Theme::light()), {"dark", Theme::dark()}}) {
    QApplication::setPalette(palette);
    for (const auto& state : states()) {
      PopoverView view{PopoverActions()};
      view.apply(recompute(state.inputs));
      view.adjustSize();
      for (const auto& [scale, ending] : {std::pair(1.0, ".png"), {2.0, "@2x.png"}}) {
        const auto file = folder / (state.name + "-" + theme + ending);
        save(view, scale, file);
        onWritten(file);
      }
    }
  }
}

}  // namespace quillant::PopoverPictures
