// SDL2 audio output. The callback path (Callback, RenderBlock) is short on
// purpose: pop commands, mix, publish cursors; no allocation, lock or log.
#include "display/audio_device.h"

#include <SDL.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <thread>

namespace vremo {
namespace {

// How long the UI thread waits for room in a full command ring (the audio
// thread empties it every block) before it gives the command up.
constexpr auto kRingFullWait = std::chrono::milliseconds(500);
constexpr std::string_view kDeviceLostLine = "Err:DirectSound device lost";

std::string DefaultDeviceName() {
  char* name = nullptr;
  SDL_AudioSpec spec{};
  if (SDL_GetDefaultAudioInfo(&name, &spec, 0) == 0 && name) {
    std::string result(name);
    SDL_free(name);
    return result;
  }
  return "default";
}

// "5.3": milliseconds with one decimal, whatever the C locale says.
std::string Milliseconds(int64_t frames, int32_t rate) {
  char text[32];
  const double ms = rate > 0 ? 1000.0 * static_cast<double>(frames) / rate : 0.0;
  const auto end = std::to_chars(text, text + sizeof text, ms, std::chars_format::fixed, 1).ptr;
  return std::string(text, end);
}

}  // namespace

int32_t AudioBlockFramesFor(int32_t wanted) {
  const int32_t clamped = std::clamp(wanted, kMinAudioBufferFrames, kMaxAudioBufferFrames);
  int32_t lower = kMinAudioBufferFrames;
  while (lower * 2 <= clamped) lower *= 2;
  const int32_t upper = std::min(lower * 2, kMaxAudioBufferFrames);
  return clamped - lower <= upper - clamped ? lower : upper;
}

AudioDevice::~AudioDevice() { Close(); }

bool AudioDevice::Open(DebugLog& log, int32_t wantedRate, int32_t wantedFrames) {
  log.PutLog("initializing directsound...");
  Close();
  requestedFrames_ = AudioBlockFramesFor(wantedFrames);
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");  // leave Ctrl+C and friends to the program
  if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) {
    log.PutLog("Err:DirectSound Initializing");
    return false;
  }
  SDL_AudioSpec want{};
  want.freq = wantedRate;
  want.format = AUDIO_F32SYS;
  want.channels = kSoundChannels;
  want.samples = static_cast<Uint16>(requestedFrames_);
  want.callback = &AudioDevice::Callback;
  want.userdata = this;
  SDL_AudioSpec have{};
  const SDL_AudioDeviceID device =
      SDL_OpenAudioDevice(nullptr, 0, &want, &have, SDL_AUDIO_ALLOW_FREQUENCY_CHANGE | SDL_AUDIO_ALLOW_SAMPLES_CHANGE);
  if (device == 0) {
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    log.PutLog("Err:DirectSound Initializing");
    return false;
  }
  // The device starts paused: the mixer exists before the first callback.
  sampleRate_ = have.freq;
  blockFrames_ = have.samples;
  mixer_ = std::make_unique<Mixer>(sampleRate_);
  mixer_->Apply({.kind = MixerCommand::Kind::kSetMasterVolume, .rate = masterVolume_});
  mixer_->Apply({.kind = MixerCommand::Kind::kSetVoiceCount, .slot = static_cast<int16_t>(voiceCount_)});
  const char* driver = SDL_GetCurrentAudioDriver();
  deviceName_ = DefaultDeviceName();
  device_ = device;
  log_ = &log;
  SDL_PauseAudioDevice(device_, 0);
  // SDL hands the sound server its block as the target (PipeWire's node
  // latency, PulseAudio's target length), so PIPEWIRE_LATENCY or
  // PULSE_LATENCY_MSEC (whole milliseconds) would at best say it again. The
  // delay this program adds is one block plus the mixer's look-ahead.
  const int64_t delayFrames = int64_t{blockFrames_} + mixer_->latencyFrames();
  log.PutLog("  audio device: " + deviceName_ + " (" + (driver ? driver : "?") + "), " + std::to_string(sampleRate_) +
             "Hz, " + std::to_string(blockFrames_) + " frames (" + Milliseconds(blockFrames_, sampleRate_) +
             " ms), latency " + std::to_string(delayFrames) + " frames (" + Milliseconds(delayFrames, sampleRate_) +
             " ms)");
  return true;
}

void AudioDevice::Close() {
  if (device_ == 0) return;
  SDL_CloseAudioDevice(device_);  // returns after the last callback
  device_ = 0;
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
  // The audio thread is gone: this thread may take the consumer's side.
  MixerCommand command;
  while (commands_.Pop(command)) {
  }
  mixer_.reset();
  for (auto& cursor : cursors_) cursor.store(0, std::memory_order_relaxed);
  for (auto& sound : held_) sound.reset();
  retired_.clear();
}

void AudioDevice::Callback(void* self, uint8_t* stream, int bytes) {
  const int frames = bytes / static_cast<int>(sizeof(float) * kSoundChannels);
  static_cast<AudioDevice*>(self)->RenderBlock(reinterpret_cast<float*>(stream), frames);
}

void AudioDevice::RenderBlock(float* out, int frames) {
  MixerCommand command;
  while (commands_.Pop(command)) mixer_->Apply(command);
  mixer_->Render(out, frames);
  // Only the voices in use; those a smaller count left behind read 0 again.
  const int count = mixer_->voiceCount();
  for (int slot = 0; slot < std::max(count, publishedCursors_); ++slot) {
    cursors_[slot].store(mixer_->CursorFrames(slot), std::memory_order_relaxed);
  }
  publishedCursors_ = count;
}

bool AudioDevice::Send(const MixerCommand& command) {
  if (device_ == 0) return false;
  // A device unplugged (or a sound server gone) stops for good: say so once
  // and go on silently, as without a device.
  if (SDL_GetAudioDeviceStatus(device_) == SDL_AUDIO_STOPPED) {
    if (log_ != nullptr) log_->PutLog(std::string(kDeviceLostLine));
    Close();
    return false;
  }
  FreeRetired();
  const auto deadline = std::chrono::steady_clock::now() + kRingFullWait;
  while (!commands_.Push(command)) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

void AudioDevice::Retire(std::shared_ptr<const SoundData> sound) {
  if (sound) retired_.emplace_back(commands_.pushed(), std::move(sound));
}

void AudioDevice::FreeRetired() {
  const uint64_t consumed = commands_.popped();
  std::erase_if(retired_, [consumed](const auto& entry) { return entry.first <= consumed; });
}

void AudioDevice::StartVoice(int slot, std::shared_ptr<const SoundData> sound, int32_t rate, double) {
  if (slot < 0 || slot >= kMaxMixerVoices || !sound) return;
  if (!Send({.kind = MixerCommand::Kind::kStart,
             .slot = static_cast<int16_t>(slot),
             .sound = sound.get(),
             .rate = static_cast<double>(rate)})) {
    return;
  }
  if (held_[slot] != sound) {
    Retire(std::move(held_[slot]));
    held_[slot] = std::move(sound);
  }
}

// A stop lets go of the slot's sound on the audio side, so the hold ends too.
// When the command cannot be sent the sound stays held (never freed early).
void AudioDevice::StopVoice(int slot) {
  if (slot < 0 || slot >= kMaxMixerVoices) return;
  if (Send({.kind = MixerCommand::Kind::kStop, .slot = static_cast<int16_t>(slot)})) Retire(std::move(held_[slot]));
}

void AudioDevice::RewindVoice(int slot) {
  if (slot >= 0 && slot < kMaxMixerVoices)
    Send({.kind = MixerCommand::Kind::kRewind, .slot = static_cast<int16_t>(slot)});
}

void AudioDevice::SetVoiceRate(int slot, int32_t rate) {
  if (slot < 0 || slot >= kMaxMixerVoices) return;
  Send({.kind = MixerCommand::Kind::kSetRate, .slot = static_cast<int16_t>(slot), .rate = static_cast<double>(rate)});
}

void AudioDevice::StopAllVoices() {
  if (!Send({.kind = MixerCommand::Kind::kStopAll})) return;
  for (auto& sound : held_) Retire(std::move(sound));
}

void AudioDevice::SetVoiceCount(int count) {
  voiceCount_ = count;
  Send({.kind = MixerCommand::Kind::kSetVoiceCount, .slot = static_cast<int16_t>(count)});
}

void AudioDevice::SetMasterVolume(float gain) {
  masterVolume_ = gain;
  Send({.kind = MixerCommand::Kind::kSetMasterVolume, .rate = static_cast<double>(gain)});
}

int64_t AudioDevice::VoiceCursorFrames(int slot) const {
  if (slot < 0 || slot >= kMaxMixerVoices) return 0;
  return cursors_[slot].load(std::memory_order_relaxed);
}

}  // namespace vremo
