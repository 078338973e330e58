#include "MediaKit/Exporting/SoundFileWriter.h"

#include <cstring>

#include "MediaKit/Exporting/StagedOutput.h"

namespace quillant {

using FFmpeg::check;

struct SoundFileWriter::Implementation {
  StagedOutput output;
  FFmpeg::Packet packet{check(av_packet_alloc())};
};

SoundFileWriter::SoundFileWriter(const std::filesystem::path& path, SoundFormat format, unsigned mode)
    : implementation_(new Implementation{.output = {path, "caf", mode}}) {
  auto& context = implementation_->output.context();
  auto& stream = *check(avformat_new_stream(&context, nullptr));
  stream.time_base = {1, format.sampleRate};
  auto& parameters = *stream.codecpar;
  parameters.codec_type = AVMEDIA_TYPE_AUDIO;
  parameters.codec_id = AV_CODEC_ID_PCM_F32LE;
  parameters.sample_rate = format.sampleRate;
  parameters.bits_per_coded_sample = 32;
  parameters.block_align = 4 * format.channels;
  av_channel_layout_default(&parameters.ch_layout, format.channels);
  implementation_->output.check(avformat_write_header(&context, nullptr), "could not start the file");
}
SoundFileWriter::~SoundFileWriter() = default;

void SoundFileWriter::write(std::span<const float> samples) {
  auto& packet = *implementation_->packet;
  check(av_new_packet(&packet, static_cast<int>(samples.size_bytes())), "could not write sound");
  std::memcpy(packet.data, samples.data(), samples.size_bytes());
  const int result = av_write_frame(&implementation_->output.context(), &packet);
  av_packet_unref(&packet);
  implementation_->output.check(result, "could not write sound");
}

void SoundFileWriter::finish() {
  implementation_->output.check(av_write_trailer(&implementation_->output.context()),
                                "could not finish the file");
  implementation_->output.publish();
}

}  // namespace quillant
