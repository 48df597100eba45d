// The demo song: its arrangement, the chart text and the list of sound and
// picture files that the chart names.
#pragma once

#include <QImage>

#include <functional>
#include <string>
#include <vector>

#include "tools/make_demo/synth.h"

namespace demo {

struct SoundFile {
  std::string name;
  std::function<Samples()> make;
};

struct PictureFile {
  std::string name;
  std::function<QImage()> make;
};

struct DemoSong {
  std::string chart;  // whole .bms text, CR LF line ends
  std::vector<SoundFile> sounds;
  std::vector<PictureFile> pictures;
  int measures = 0;
  int notes = 0;      // objects the player hits (keys and scratch)
  int objects = 0;    // every object on every channel
  std::vector<int> tempos;
  double seconds = 0.0;
};

// Builds the song; throws std::runtime_error if the arrangement breaks a
// rule of the chart (two notes on one lane at once, and so on).
DemoSong compose();

}  // namespace demo
