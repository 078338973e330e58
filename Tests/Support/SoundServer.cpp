#include "Tests/Support/SoundServer.h"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

#include "Tests/Support/Eventually.h"

namespace quillant {

SoundServer::SoundServer() {
  // Without norewinds the first sound is late by more than a second.
  const std::string socket =
      "module-native-protocol-unix auth-anonymous=1 socket=" + (folder_ / "native").string();
  process_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                               "--use-pid-file=no", "--log-level=error", "-L", socket, "-L",
                               "module-null-sink sink_name=sys rate=48000 channels=2 norewinds=1", "-L",
                               "module-null-sink sink_name=micfeed rate=48000 channels=1 norewinds=1", "-L",
                               "module-remap-source source_name=mic master=micfeed.monitor channels=1"},
      ChildProcess::Environment{{"HOME", folder_.path().string()},
                                {"XDG_RUNTIME_DIR", folder_.path().string()},
                                {"PULSE_RUNTIME_PATH", folder_.path().string()}});
  const auto isReady = [this] {
    return ChildProcess({"pactl", "set-default-sink", "sys"}, environment()).wait() == 0;
  };
  if (!eventually(isReady)) throw std::runtime_error("the sound server does not start");
  control({"set-default-source", "mic"});
}

bool SoundServer::isAvailable() {
  std::istringstream folders(std::getenv("PATH") ? std::getenv("PATH") : "");
  for (std::string folder; std::getline(folders, folder, ':');)
    if (::access((std::filesystem::path(folder) / "pulseaudio").c_str(), X_OK) == 0) return true;
  return false;
}

ChildProcess::Environment SoundServer::environment() const {
  return {{"PULSE_SERVER", "unix:" + (folder_ / "native").string()}};
}

void SoundServer::enter() const {
  for (const auto& [name, value] : environment()) ::setenv(name.c_str(), value->c_str(), 1);
}

std::string SoundServer::control(const std::vector<std::string>& words) const {
  std::vector<std::string> command{"pactl"};
  command.insert(command.end(), words.begin(), words.end());
  ChildProcess process(command, environment());
  auto output = process.readAll();
  if (process.wait() != 0) throw std::runtime_error("pactl: " + output);
  return output;
}

std::unique_ptr<ChildProcess> SoundServer::playTone(const std::string& output, double seconds) const {
  constexpr int rate = 48'000;
  std::vector<float> samples(rate);
  for (int i = 0; i < static_cast<int>(seconds * rate); ++i)
    samples.push_back(static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 440 * i / rate)));
  const auto path = folder_ / (output + ".raw");
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(samples.data()),
             static_cast<std::streamsize>(samples.size() * sizeof(float)));
  return std::make_unique<ChildProcess>(
      std::vector<std::string>{"paplay", "--raw", "--format=float32le", "--rate=48000", "--channels=1",
                               "--latency-msec=50", "-d", output, path.string()},
      environment());
}

void SoundServer::kill() {
  process_->signal(SIGKILL);
  process_->wait();
}

void SoundServer::hang() {
  process_->signal(SIGSTOP);
}

}  // namespace quillant
