#include "MediaKit/Exporting/BitRateCap.h"

#include <algorithm>
#include <cmath>

#include "MediaKit/Writing/H264Encoder.h"

namespace quillant {

namespace {

/// What others are predicted from is finer.
constexpr int keyAdvantage = 3;
/// How full the buffer is where stretches meet.
constexpr double filledAtSeams = 0.5;
/// Seconds before a seam in which it is filled for that.
constexpr double filling = 2;
/// Seconds for which pictures are expected to go on as they were.
constexpr double outlook = 0.5;

/// Six steps halve the bits, about.
int stepsBetween(double bits, double allowed) {
  return static_cast<int>(std::ceil(6 * std::log2(bits / allowed)));
}

double bitsOf(std::size_t bytes) {
  return static_cast<double>(bytes) * 8;
}

}  // namespace

BitRateCap::BitRateCap(const FileEncoding& encoding, int frameRate, std::int64_t pictures)
    : finest_(encoding.quantizer),
      second_(std::max(1, encoding.maximumBitRate)),
      frameRate_(std::max(1, frameRate)),
      left_(pictures),
      filled_(second_ * filledAtSeams) {}

int BitRateCap::key() const {
  return std::max(H264Encoder::finestQuantizer, finest_ - keyAdvantage);
}

int BitRateCap::keyAfter(std::size_t bytes, int quantizer) const {
  if (bitsOf(bytes) <= filled_) return quantizer;
  return std::min(H264Encoder::coarsestQuantizer, quantizer + stepsBetween(bitsOf(bytes), filled_));
}

int BitRateCap::predicted() const {
  const double expected = std::clamp(outlook * frameRate_, 1.0, std::max(1.0, static_cast<double>(left_)));
  const double afterwards = (static_cast<double>(left_) - expected) / frameRate_;
  const double kept = second_ * filledAtSeams * std::max(0.0, 1 - afterwards / filling);
  const double income = second_ / frameRate_;
  const double allowed = std::max(income + (filled_ - kept) / expected, income / 16);
  if (cost_ <= allowed) return finest_;
  return std::min(H264Encoder::coarsestQuantizer, finest_ + stepsBetween(cost_, allowed));
}

void BitRateCap::accountKey(std::size_t bytes) {
  filled_ = std::min(second_, filled_ - bitsOf(bytes) + second_ / frameRate_);
  --left_;
}

void BitRateCap::account(std::size_t bytes, int quantizer) {
  accountKey(bytes);
  cost_ += (bitsOf(bytes) * std::exp2((quantizer - finest_) / 6.0) - cost_) / 3;
}

}  // namespace quillant
