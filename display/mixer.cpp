// The mixer's voices, resampler and limiter. Runs on the audio thread in live
// play: nothing here allocates (buffers are sized in the constructor), locks or
// logs.
#include "display/mixer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace vremo {

Mixer::Mixer(int32_t outputRate)
    : outputRate_(std::max<int32_t>(outputRate, 1)),
      lookahead_(std::max(1, static_cast<int>(std::lround(kLimiterLookaheadMs * outputRate_ / 1000.0)))),
      mix_(static_cast<size_t>(lookahead_ + kMixerMaxBlock) * kSoundChannels),
      needed_(lookahead_ + kMixerMaxBlock),
      held_(lookahead_ + kMixerMaxBlock),
      window_(lookahead_ + kMixerMaxBlock),
      releaseCoefficient_(static_cast<float>(1.0 - std::exp(-1000.0 / (kLimiterReleaseMs * outputRate_)))) {}

namespace {

constexpr double kFixedOne = 4294967296.0;  // 1 << 32
constexpr float kFractionScale = 1.0f / 4294967296.0f;

constexpr double kMaxFixedFrames = 2147483648.0;  // 1 << 31: far beyond any sound (kMaxSoundFrames)

uint64_t ToFixed(double frames) {
  if (!(frames > 0.0)) return 0;  // also NaN
  return static_cast<uint64_t>(std::llround(std::min(frames, kMaxFixedFrames) * kFixedOne));
}

}  // namespace

void Mixer::SetRate(Voice& voice, double rate) {
  voice.rate = rate;
  const double effective = rate > 0.0 ? rate : (voice.sound ? voice.sound->sampleRate : outputRate_);
  voice.step = std::max<uint64_t>(ToFixed(std::min<double>(effective, kMaxSoundSampleRate) / outputRate_), 1);
}

void Mixer::Apply(const MixerCommand& command) {
  if (command.kind == MixerCommand::Kind::kSetMasterVolume) {
    masterVolume_ = static_cast<float>(std::clamp(command.rate, 0.0, 4.0));
    return;
  }
  if (command.kind == MixerCommand::Kind::kStopAll) {
    for (Voice& voice : voices_) Silence(voice);
    return;
  }
  if (command.kind == MixerCommand::Kind::kSetVoiceCount) {
    voiceCount_ = std::clamp<int>(command.slot, kMixerVoices, kMaxMixerVoices);
    for (int slot = voiceCount_; slot < kMaxMixerVoices; ++slot) Silence(voices_[slot]);
    return;
  }
  if (command.slot < 0 || command.slot >= voiceCount_) return;
  Voice& voice = voices_[command.slot];
  switch (command.kind) {
    case MixerCommand::Kind::kStart:
      voice.sound = command.sound;
      voice.position = ToFixed(command.position);
      SetRate(voice, command.rate);
      voice.sounding = voice.sound != nullptr && (voice.position >> 32) < static_cast<uint64_t>(voice.sound->frames);
      if (!voice.sounding) Silence(voice);
      break;
    case MixerCommand::Kind::kStop:
      Silence(voice);
      break;
    case MixerCommand::Kind::kRewind:
      voice.position = 0;
      break;
    case MixerCommand::Kind::kSetRate:
      SetRate(voice, command.rate);
      break;
    default:
      break;
  }
}

// Adds the voice's next output frames to `mix` by linear interpolation
// between the sound's frames; the count left is worked out first so the loop
// has no test in it.
void Mixer::MixVoice(Voice& voice, float* mix, int frames) {
  const float* samples = voice.sound->samples.data();
  const uint64_t end = static_cast<uint64_t>(voice.sound->frames) << 32;
  const uint64_t step = voice.step;
  uint64_t position = voice.position;
  const uint64_t left = (end - position + step - 1) / step;  // frames until position >= end
  const int count = static_cast<int>(std::min<uint64_t>(left, static_cast<uint64_t>(frames)));
  // Left and right travel together as one 2-float vector (GCC/Clang vector
  // extension): about twice as fast as two scalar lanes.
  using StereoFrame = float __attribute__((vector_size(8)));
  for (int i = 0; i < count; ++i) {
    const float* frame = samples + (position >> 32) * kSoundChannels;  // frame + 2: next frame or guard
    const float fraction = static_cast<float>(static_cast<uint32_t>(position)) * kFractionScale;
    StereoFrame current;
    StereoFrame next;
    StereoFrame sum;
    std::memcpy(&current, frame, sizeof current);
    std::memcpy(&next, frame + kSoundChannels, sizeof next);
    std::memcpy(&sum, mix + 2 * i, sizeof sum);
    sum += current + (next - current) * fraction;
    std::memcpy(mix + 2 * i, &sum, sizeof sum);
    position += step;
  }
  voice.position = position;
  if (position >= end) Silence(voice);  // played to its end: silent and rewound
}

// Headroom and master volume, the volume gliding to its new value over the
// block so a change does not click.
void Mixer::ScaleNewFrames(float* mix, int frames) {
  const float volumeStart = appliedVolume_;
  const float volumeStep = (masterVolume_ - volumeStart) / static_cast<float>(frames);
  for (int i = 0; i < frames; ++i) {
    const float scale = kMixHeadroom * (volumeStart + volumeStep * static_cast<float>(i + 1));
    mix[2 * i] *= scale;
    mix[2 * i + 1] *= scale;
  }
  appliedVolume_ = masterVolume_;
}

// The limiter over mix_ (lookahead_ carried frames + `frames` new ones):
// writes the first `frames` frames to `out` and carries the rest. The gain a
// frame needs (ceiling / peak, at most 1) is held for the look-ahead length
// before it (a sliding minimum), then averaged over the look-ahead: so the
// gain is at or under what every frame needs, and changes by at most 1 /
// lookahead a frame, ramping down before a peak instead of cutting it. It
// recovers with the release time constant.
void Mixer::LimitBlock(float* out, int frames) {
  const int length = lookahead_ + frames;
  for (int k = 0; k < length; ++k) {
    const float peak = std::max(std::fabs(mix_[2 * k]), std::fabs(mix_[2 * k + 1]));
    needed_[k] = peak > kLimiterCeiling ? kLimiterCeiling / peak : 1.0f;
  }
  // held_[k] = min of needed_[k - lookahead_ + 1 .. k] (what is in the buffer).
  int head = 0;
  int tail = 0;
  for (int k = 0; k < length; ++k) {
    while (tail > head && needed_[window_[tail - 1]] >= needed_[k]) --tail;
    window_[tail++] = k;
    if (window_[head] <= k - lookahead_) ++head;
    held_[k] = needed_[window_[head]];
  }
  // gain[i] = mean of held_[i .. i + lookahead_ - 1], each of which covers i.
  double sum = 0.0;
  for (int k = 0; k < lookahead_; ++k) sum += held_[k];
  float gain = limiterGain_;
  for (int i = 0; i < frames; ++i) {
    const float smoothed = static_cast<float>(sum / lookahead_);
    sum += held_[i + lookahead_] - held_[i];
    gain = std::min(smoothed, gain + (1.0f - gain) * releaseCoefficient_);
    out[2 * i] = std::clamp(mix_[2 * i] * gain, -1.0f, 1.0f);
    out[2 * i + 1] = std::clamp(mix_[2 * i + 1] * gain, -1.0f, 1.0f);
  }
  limiterGain_ = gain;
  std::copy_n(mix_.begin() + 2 * frames, 2 * lookahead_, mix_.begin());
}

void Mixer::Render(float* out, int64_t frames) {
  while (frames > 0) {
    const int block = static_cast<int>(std::min<int64_t>(frames, kMixerMaxBlock));
    float* fresh = mix_.data() + static_cast<std::ptrdiff_t>(lookahead_) * kSoundChannels;
    std::fill_n(fresh, block * kSoundChannels, 0.0f);
    for (int slot = 0; slot < voiceCount_; ++slot) {  // voices past the count are silent
      if (voices_[slot].sounding) MixVoice(voices_[slot], fresh, block);
    }
    ScaleNewFrames(fresh, block);
    LimitBlock(out, block);
    out += static_cast<int64_t>(block) * kSoundChannels;
    frames -= block;
  }
}

int64_t Mixer::CursorFrames(int slot) const {
  if (slot < 0 || slot >= voiceCount_ || !voices_[slot].sounding) return 0;
  return static_cast<int64_t>(voices_[slot].position >> 32);
}

bool Mixer::IsSounding(int slot) const { return slot >= 0 && slot < voiceCount_ && voices_[slot].sounding; }

int Mixer::SoundingCount() const {
  return static_cast<int>(std::count_if(voices_.begin(), voices_.end(), [](const Voice& v) { return v.sounding; }));
}

}  // namespace vremo
