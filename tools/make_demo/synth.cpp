#include "tools/make_demo/synth.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>

namespace demo {
namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

// Small xorshift generator: fixed seeds keep every noise burst identical
// between runs and between standard libraries.
class Noise {
 public:
  explicit Noise(std::uint32_t seed) : state_(seed != 0 ? seed : 1u) {}
  double next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return static_cast<double>(state_) / 4294967295.0 * 2.0 - 1.0;
  }

 private:
  std::uint32_t state_;
};

// One-pole low-pass; high-pass is the input minus this.
class OnePole {
 public:
  explicit OnePole(double cutoff_hz)
      : a_(1.0 - std::exp(-kTwoPi * cutoff_hz / kSampleRate)) {}
  double low(double x) {
    y_ += a_ * (x - y_);
    return y_;
  }
  double high(double x) { return x - low(x); }

 private:
  double a_;
  double y_ = 0.0;
};

// Band-pass biquad whose centre may move every sample.
class BandPass {
 public:
  double run(double x, double centre_hz, double q) {
    const double w = kTwoPi * centre_hz / kSampleRate;
    const double alpha = std::sin(w) / (2.0 * q);
    const double a0 = 1.0 + alpha;
    const double b0 = alpha / a0;
    const double b2 = -alpha / a0;
    const double a1 = -2.0 * std::cos(w) / a0;
    const double a2 = (1.0 - alpha) / a0;
    const double y = b0 * x + b2 * x2_ - a1 * y1_ - a2 * y2_;
    x2_ = x1_;
    x1_ = x;
    y2_ = y1_;
    y1_ = y;
    return y;
  }

 private:
  double x1_ = 0, x2_ = 0, y1_ = 0, y2_ = 0;
};

Samples blank(double seconds) {
  return Samples(static_cast<std::size_t>(std::lround(seconds * kSampleRate)), 0.0);
}

double seconds_at(std::size_t i) { return static_cast<double>(i) / kSampleRate; }

// Raised-cosine fades at both ends (no clicks), removes any DC offset and
// scales the loudest sample to the wanted peak.
void finish(Samples& s, double peak_db, double fade_in_s, double fade_out_s) {
  if (s.empty()) return;
  double mean = 0.0;
  for (double v : s) mean += v;
  mean /= static_cast<double>(s.size());
  for (double& v : s) v -= mean;

  const auto n = s.size();
  const auto fade_in = std::min(n, static_cast<std::size_t>(fade_in_s * kSampleRate));
  const auto fade_out = std::min(n, static_cast<std::size_t>(fade_out_s * kSampleRate));
  for (std::size_t i = 0; i < fade_in; ++i) {
    const double x = static_cast<double>(i) / static_cast<double>(fade_in);
    s[i] *= 0.5 - 0.5 * std::cos(std::numbers::pi * x);
  }
  for (std::size_t i = 0; i < fade_out; ++i) {
    const double x = static_cast<double>(i + 1) / static_cast<double>(fade_out);
    s[n - fade_out + i] *= 0.5 + 0.5 * std::cos(std::numbers::pi * x);
  }
  s.front() = 0.0;
  s.back() = 0.0;

  double peak = 0.0;
  for (double v : s) peak = std::max(peak, std::abs(v));
  if (peak <= 0.0) return;
  const double gain = std::pow(10.0, peak_db / 20.0) / peak;
  for (double& v : s) v *= gain;
}

// Band-limited sawtooth by summing harmonics, each shaped by a gentle
// low-pass curve so the sound stays mellow.
double soft_saw(double phase, double freq, double cutoff_hz) {
  double v = 0.0;
  for (int k = 1; k * freq < 9000.0; ++k) {
    const double ratio = k * freq / cutoff_hz;
    v += std::sin(k * phase) / (k * (1.0 + ratio * ratio));
  }
  return v;
}

void put_le(std::ofstream& out, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    out.put(static_cast<char>((value >> (8 * i)) & 0xFFu));
  }
}

}  // namespace

double midi_hz(int midi) { return 440.0 * std::pow(2.0, (midi - 69) / 12.0); }

Samples electric_piano(int midi) {
  const double f = midi_hz(midi);
  Samples s = blank(0.34);
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double t = seconds_at(i);
    const double phase = kTwoPi * f * t;
    // The modulation index falls quickly: bright attack, round tail.
    const double index = 1.1 * std::exp(-t / 0.09) + 0.25;
    const double body = std::sin(phase + index * std::sin(phase));
    const double octave = 0.2 * std::exp(-t / 0.15) * std::sin(2.0 * phase);
    const double tine = 0.12 * std::exp(-t / 0.02) * std::sin(7.0 * phase);
    s[i] = std::exp(-t / 0.22) * (body + octave + tine);
  }
  finish(s, -6.0, 0.003, 0.05);
  return s;
}

Samples bass(int midi) {
  const double f = midi_hz(midi);
  Samples s = blank(0.42);
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double t = seconds_at(i);
    const double phase = kTwoPi * f * t;
    // Filter opens on the attack for a little pluck.
    const double cutoff = 300.0 + 1200.0 * std::exp(-t / 0.05);
    const double v = 0.8 * std::sin(phase) + 0.6 * soft_saw(phase, f, cutoff);
    s[i] = std::exp(-t / 0.35) * v;
  }
  finish(s, -8.0, 0.004, 0.06);
  return s;
}

Samples pad(const std::vector<int>& midis) {
  Samples s = blank(0.95);
  const double detune_cents[] = {-7.0, 0.0, 7.0};
  int voice = 0;
  for (int midi : midis) {
    for (double cents : detune_cents) {
      const double f = midi_hz(midi) * std::pow(2.0, cents / 1200.0);
      // Different start phases per voice avoid a spike on the first sample.
      const double start = 0.9 * voice++;
      for (std::size_t i = 0; i < s.size(); ++i) {
        const double phase = kTwoPi * f * seconds_at(i) + start;
        s[i] += soft_saw(phase, f, 1100.0);
      }
    }
  }
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double t = seconds_at(i);
    s[i] *= 1.0 - 0.15 * t;  // slight fall so repeats breathe
  }
  finish(s, -14.0, 0.08, 0.3);
  return s;
}

Samples kick() {
  Samples s = blank(0.32);
  Noise noise(0x4B1C);
  OnePole click_filter(3000.0);
  double phase = 0.0;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double t = seconds_at(i);
    const double f = 48.0 + 120.0 * std::exp(-t / 0.035);
    phase += kTwoPi * f / kSampleRate;
    const double body = std::sin(phase) * std::exp(-t / 0.13);
    const double click = 0.3 * click_filter.low(noise.next()) * std::exp(-t / 0.003);
    s[i] = body + click;
  }
  finish(s, -6.0, 0.001, 0.03);
  return s;
}

Samples snare() {
  Samples s = blank(0.25);
  Noise noise(0x5E4A);
  OnePole high(1500.0);
  OnePole low(8000.0);
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double t = seconds_at(i);
    const double tone = 0.6 * std::sin(kTwoPi * 185.0 * t) * std::exp(-t / 0.04) +
                        0.3 * std::sin(kTwoPi * 330.0 * t) * std::exp(-t / 0.03);
    const double hiss = 0.8 * low.low(high.high(noise.next())) * std::exp(-t / 0.075);
    s[i] = tone + hiss;
  }
  finish(s, -8.0, 0.001, 0.03);
  return s;
}

Samples hihat() {
  Samples s = blank(0.08);
  Noise noise(0x4A7);
  OnePole first(7000.0);
  OnePole second(7000.0);
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double t = seconds_at(i);
    s[i] = second.high(first.high(noise.next())) * std::exp(-t / 0.015);
  }
  finish(s, -14.0, 0.0005, 0.02);
  return s;
}

Samples crash() {
  Samples s = blank(1.0);
  Noise noise(0xC7A5);
  OnePole high(3000.0);
  OnePole metal_high(2000.0);
  // Inharmonic square partials give the metallic shimmer.
  const double partials[] = {205.3, 304.4, 369.6, 522.7, 540.0, 800.0};
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double t = seconds_at(i);
    double metal = 0.0;
    for (double p : partials) metal += std::sin(kTwoPi * p * t) >= 0.0 ? 1.0 : -1.0;
    const double v = high.high(noise.next()) + 0.12 * metal_high.high(metal);
    s[i] = v * std::exp(-t / 0.4);
  }
  finish(s, -10.0, 0.002, 0.15);
  return s;
}

Samples scratch() {
  const double length = 0.2;
  Samples s = blank(length);
  Noise noise(0x2C47);
  BandPass band;
  double phase = 0.0;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double t = seconds_at(i);
    const double x = t / length;
    // Pitch goes up and back down like a record pushed forward and back.
    const double sweep = std::sin(std::numbers::pi * x);
    const double f = 250.0 + 1300.0 * sweep * sweep;
    phase += kTwoPi * f / kSampleRate;
    const double tone = 0.5 * soft_saw(phase, f, 2500.0);
    const double hiss = band.run(noise.next(), 600.0 + 3000.0 * sweep * sweep, 2.0);
    s[i] = std::sqrt(sweep) * (tone + 2.0 * hiss);
  }
  finish(s, -9.0, 0.003, 0.03);
  return s;
}

bool write_wav(const std::string& path, const Samples& samples) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!out) return false;
  const auto data_bytes = static_cast<std::uint32_t>(samples.size() * 2);
  out.write("RIFF", 4);
  put_le(out, 36 + data_bytes, 4);
  out.write("WAVE", 4);
  out.write("fmt ", 4);
  put_le(out, 16, 4);               // fmt chunk size
  put_le(out, 1, 2);                // PCM
  put_le(out, 1, 2);                // mono
  put_le(out, kSampleRate, 4);
  put_le(out, kSampleRate * 2, 4);  // bytes per second
  put_le(out, 2, 2);                // block align
  put_le(out, 16, 2);               // bits per sample
  out.write("data", 4);
  put_le(out, data_bytes, 4);
  for (double v : samples) {
    const double clamped = std::clamp(v, -1.0, 1.0);
    const auto value = static_cast<std::int16_t>(std::lround(clamped * 32767.0));
    put_le(out, static_cast<std::uint16_t>(value), 2);
  }
  return static_cast<bool>(out);
}

}  // namespace demo
