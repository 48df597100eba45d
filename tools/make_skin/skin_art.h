#pragma once
// The default skin picture: notes, landmines, bar line, judgement words with the
// fGreat animation, digits, gauge strips and the 3 x 5 font cells, all on
// black (the player's transparent colour). Needs a QGuiApplication for the
// judgement words' font.

#include <QImage>

namespace vremo::skin {

QImage DrawSkin();

}  // namespace vremo::skin
