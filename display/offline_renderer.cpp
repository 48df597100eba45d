// Offline rendering: a time-ordered command queue in front of the mixer.
#include "display/offline_renderer.h"

#include <algorithm>
#include <cmath>

#include "display/wav_writer.h"

namespace vremo {

OfflineRenderer::OfflineRenderer(int32_t sampleRate)
    : mixer_(sampleRate), delayed_(static_cast<size_t>(mixer_.latencyFrames()) * kSoundChannels) {}

int64_t OfflineRenderer::FrameAt(double ms) const {
  if (!std::isfinite(ms) || ms <= 0.0) return 0;
  return std::llround(ms * mixer_.outputRate() / 1000.0);
}

void OfflineRenderer::Queue(int64_t frame, const MixerCommand& command, std::shared_ptr<const SoundData> sound) {
  latestFrame_ = std::max(latestFrame_, frame);
  queue_.push_back({frame, command, std::move(sound)});
}

void OfflineRenderer::StartVoice(int slot, std::shared_ptr<const SoundData> sound, int32_t rate, double atMs) {
  if (slot < 0 || slot >= kMaxMixerVoices || !sound) return;
  const MixerCommand command{.kind = MixerCommand::Kind::kStart,
                             .slot = static_cast<int16_t>(slot),
                             .sound = sound.get(),
                             .rate = static_cast<double>(rate)};
  Queue(FrameAt(atMs), command, std::move(sound));
}

void OfflineRenderer::StopVoice(int slot) {
  QueueNow({.kind = MixerCommand::Kind::kStop, .slot = static_cast<int16_t>(slot)});
}

void OfflineRenderer::RewindVoice(int slot) {
  QueueNow({.kind = MixerCommand::Kind::kRewind, .slot = static_cast<int16_t>(slot)});
}

void OfflineRenderer::SetVoiceRate(int slot, int32_t rate) {
  QueueNow(
      {.kind = MixerCommand::Kind::kSetRate, .slot = static_cast<int16_t>(slot), .rate = static_cast<double>(rate)});
}

void OfflineRenderer::StopAllVoices() { QueueNow({.kind = MixerCommand::Kind::kStopAll}); }

void OfflineRenderer::SetMasterVolume(float gain) {
  QueueNow({.kind = MixerCommand::Kind::kSetMasterVolume, .rate = static_cast<double>(gain)});
}

void OfflineRenderer::SetVoiceCount(int count) {
  QueueNow({.kind = MixerCommand::Kind::kSetVoiceCount, .slot = static_cast<int16_t>(count)});
}

int64_t OfflineRenderer::VoiceCursorFrames(int slot) const { return mixer_.CursorFrames(slot); }

bool OfflineRenderer::AnySounding() const { return !queue_.empty() || mixer_.SoundingCount() > 0; }

// A start that is late (its frame already mixed) begins where the sound
// would be by now, so it stays aligned with the clock.
void OfflineRenderer::ApplyQueued(Queued& queued) {
  MixerCommand command = queued.command;
  if (command.kind == MixerCommand::Kind::kStart && queued.frame < mixed_) {
    const double rate = command.rate > 0.0 ? command.rate : queued.sound->sampleRate;
    command.position = static_cast<double>(mixed_ - queued.frame) * rate / mixer_.outputRate();
  }
  mixer_.Apply(command);
  const int slot = command.slot;
  switch (command.kind) {
    case MixerCommand::Kind::kStart:
      playing_[slot] = std::move(queued.sound);
      break;
    case MixerCommand::Kind::kStop:
      if (slot >= 0 && slot < kMaxMixerVoices) playing_[slot].reset();
      break;
    case MixerCommand::Kind::kStopAll:
      for (auto& sound : playing_) sound.reset();
      break;
    default:
      break;
  }
}

// The mixer's output lags the mix by its latency: its first latencyFrames()
// frames belong before time 0 and are dropped.
void OfflineRenderer::MixTo(int64_t frame) {
  int64_t count = frame - mixed_;
  if (count <= 0) return;
  const int64_t early = std::min<int64_t>(count, mixer_.latencyFrames() - mixed_);
  if (early > 0) {
    mixer_.Render(delayed_.data(), early);
    mixed_ += early;
    count -= early;
  }
  if (count > 0) {
    // One Render call per step, as without a sink: the limiter's output
    // depends on where the calls split the mix.
    const size_t start = samples_.size();
    samples_.resize(start + static_cast<size_t>(count) * kSoundChannels);
    mixer_.Render(samples_.data() + start, count);
    mixed_ += count;
    if (static_cast<int64_t>(samples_.size() / 2) >= kStreamBlockFrames) HandOn();
  }
  latestFrame_ = std::max(latestFrame_, mixed_);
}

void OfflineRenderer::HandOn() {
  if (!sink_ || samples_.empty()) return;
  const int64_t frames = static_cast<int64_t>(samples_.size() / 2);
  sink_(samples_.data(), frames);
  handedOn_ += frames;
  samples_.clear();  // keeps its capacity: one block's memory for the whole render
}

void OfflineRenderer::StreamTo(FrameSink sink) {
  sink_ = std::move(sink);
  HandOn();
}

void OfflineRenderer::AdvanceTo(double ms) {
  const int64_t target = FrameAt(ms);
  // Commands keep their call order among equal frames.
  std::stable_sort(queue_.begin(), queue_.end(), [](const Queued& a, const Queued& b) { return a.frame < b.frame; });
  size_t applied = 0;
  for (; applied < queue_.size() && queue_[applied].frame <= target; ++applied) {
    MixTo(queue_[applied].frame);
    ApplyQueued(queue_[applied]);
  }
  queue_.erase(queue_.begin(), queue_.begin() + static_cast<std::ptrdiff_t>(applied));
  MixTo(target);
}

bool OfflineRenderer::RenderTail(double maxMs) {
  const int64_t limit = mixed_ + FrameAt(maxMs);
  while (AnySounding() && mixed_ < limit) {
    const int64_t next = std::min(limit, mixed_ + kMixerMaxBlock);
    AdvanceTo((static_cast<double>(next) + 0.25) * 1000.0 / mixer_.outputRate());
    MixTo(next);
  }
  // Flush the look-ahead: everything mixed before becomes final.
  MixTo(mixed_ + mixer_.latencyFrames());
  HandOn();
  return !AnySounding();
}

bool OfflineRenderer::WriteWav(const std::string& path) const {
  return WriteWavFile(path, samples_.data(), renderedFrames(), mixer_.outputRate());
}

}  // namespace vremo
