#pragma once
// Offline rendering: the live mixer run on the calling thread into memory,
// driven by the play clock instead of a sound card. A voice restarted for
// play-clock time t starts at exactly sample round(t x rate / 1000), however
// late the engine noticed it, as long as that sample is not rendered yet.
//
// Use: let the engine run its pass for clock time t (its Restart calls queue
// voices at their own times), then call AdvanceTo(t) to mix up to t; at the
// end call RenderTail, which lets the sounds ring out and flushes the mixer's
// 1 ms look-ahead, and write the result with WriteWav. samples()[k] is always
// clock time k / rate: the look-ahead delay is taken out. A long render hands
// its frames to a sink (StreamTo) in blocks instead of holding them all. UI
// thread (the caller's thread) only.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "display/mixer.h"
#include "display/sound_output.h"

namespace vremo {

inline constexpr int32_t kOfflineSampleRate = 44100;
// Final frames a streaming render holds before it hands them on (1.5 s).
inline constexpr int64_t kStreamBlockFrames = int64_t{1} << 16;

class OfflineRenderer : public SoundOutput {
 public:
  explicit OfflineRenderer(int32_t sampleRate = kOfflineSampleRate);

  // Mixes every frame before FrameAt(ms), applying the queued commands at
  // their frames; afterwards every command queued for a frame <= FrameAt(ms)
  // has taken effect. A time at or before what is mixed mixes nothing.
  // samples() then hold the frames before FrameAt(ms) - latencyFrames().
  void AdvanceTo(double ms);
  // Mixes on until no voice sounds and nothing is queued, at most `maxMs`
  // beyond what is mixed, then flushes the look-ahead so samples() hold
  // everything mixed. Returns true when all is silent.
  bool RenderTail(double maxMs);
  bool AnySounding() const;

  int64_t FrameAt(double ms) const;
  // From now on every final frame goes to `sink`, in blocks of about
  // kStreamBlockFrames (the rest by RenderTail); samples() then holds only
  // the frames not handed on yet.
  using FrameSink = std::function<void(const float* interleavedStereo, int64_t frames)>;
  void StreamTo(FrameSink sink);

  // Frames mixed (the clock's position) and frames final (handed on or in
  // samples()).
  int64_t mixedFrames() const { return mixed_; }
  int64_t renderedFrames() const { return handedOn_ + static_cast<int64_t>(samples_.size() / 2); }
  int latencyFrames() const { return mixer_.latencyFrames(); }
  int32_t sampleRate() const { return mixer_.outputRate(); }
  // Interleaved stereo, renderedFrames() frames, within [-1, 1].
  const std::vector<float>& samples() const { return samples_; }
  // 16-bit stereo RIFF WAV at the render's rate, written atomically.
  bool WriteWav(const std::string& path) const;

  // SoundOutput. A voice whose `atMs` lies in what is already rendered starts
  // at once, skipping the part of the sound that would have played; commands
  // without a time take effect at the latest time queued or rendered so far.
  void StartVoice(int slot, std::shared_ptr<const SoundData> sound, int32_t rate, double atMs) override;
  void StopVoice(int slot) override;
  void RewindVoice(int slot) override;
  void SetVoiceRate(int slot, int32_t rate) override;
  void StopAllVoices() override;
  void SetMasterVolume(float gain) override;
  void SetVoiceCount(int count) override;
  int64_t VoiceCursorFrames(int slot) const override;

 private:
  struct Queued {
    int64_t frame = 0;
    MixerCommand command;
    std::shared_ptr<const SoundData> sound;  // kept alive until applied
  };
  void Queue(int64_t frame, const MixerCommand& command, std::shared_ptr<const SoundData> sound = nullptr);
  void QueueNow(const MixerCommand& command) { Queue(latestFrame_, command); }
  void ApplyQueued(Queued& queued);
  void MixTo(int64_t frame);
  void HandOn();

  Mixer mixer_;
  std::vector<float> samples_;
  FrameSink sink_;
  int64_t handedOn_ = 0;        // frames given to the sink
  std::vector<float> delayed_;  // the mixer's first latencyFrames() frames: before time 0
  int64_t mixed_ = 0;
  int64_t latestFrame_ = 0;  // the latest frame queued or mixed
  std::vector<Queued> queue_;
  std::array<std::shared_ptr<const SoundData>, kMaxMixerVoices> playing_{};  // what each voice reads
};

}  // namespace vremo
