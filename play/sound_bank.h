#pragma once
// The play engine's view of the sounds: one voice per WAV slot (0-255),
// addressed by slot number. The display module's sound bank implements it on
// the audio device and offline; tests may use a recording fake. A slot that
// holds no sound ignores every call. UI thread only (implementations hand
// the work to their audio thread without blocking).

#include <cstdint>

namespace vremo {

class SoundBank {
 public:
  virtual ~SoundBank() = default;

  virtual bool HasSound(int slot) const = 0;
  // Stop, rewind to the start and play once (never looping). `atMs` is the
  // play clock's time the sound belongs to: an offline render starts it at
  // exactly that sample; a live device starts it at once.
  virtual void Restart(int slot, double atMs) = 0;
  virtual void Stop(int slot) = 0;
  virtual void Rewind(int slot) = 0;
  // Playback frequency in Hz (the sound's base frequency x speed factor).
  virtual void SetFrequency(int slot, int32_t frequency) = 0;
  virtual int32_t BaseFrequency(int slot) const = 0;
  // Play cursor and length in bytes of the decoded data; the cursor is 0
  // when the slot is not sounding.
  virtual int32_t PlayCursor(int slot) const = 0;
  virtual int32_t LengthBytes(int slot) const = 0;
};

}  // namespace vremo
