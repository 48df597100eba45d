// Sound synthesis for the demo song: every instrument is computed from
// plain math so the output is identical on every run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

inline constexpr int kSampleRate = 44100;

using Samples = std::vector<double>;

// Frequency of a MIDI note number (A4 = 69 = 440 Hz).
double midi_hz(int midi);

// Melody / chord voice played by the keys: a soft FM electric piano.
Samples electric_piano(int midi);
// Short plucked synth bass.
Samples bass(int midi);
// Warm chord pad from detuned saw voices.
Samples pad(const std::vector<int>& midis);

Samples kick();
Samples snare();
Samples hihat();
Samples crash();
// Vinyl-like "zip" for the turntable lane.
Samples scratch();

// Writes mono 16-bit PCM RIFF WAVE. Returns false on I/O failure.
bool write_wav(const std::string& path, const Samples& samples);

}  // namespace demo
