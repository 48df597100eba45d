#include "tools/make_demo/art.h"

#include <QBrush>
#include <QColor>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QPolygonF>
#include <QRadialGradient>

#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace demo {
namespace {

constexpr int kSize = 256;
constexpr double kPi = std::numbers::pi;

// Fixed-seed generator so star fields look the same on every run.
class Dice {
 public:
  explicit Dice(std::uint32_t seed) : state_(seed) {}
  // Uniform in [lo, hi).
  double range(double lo, double hi) {
    state_ = state_ * 1664525u + 1013904223u;
    return lo + (hi - lo) * (static_cast<double>(state_ >> 8) / 16777216.0);
  }

 private:
  std::uint32_t state_;
};

QImage canvas() {
  QImage image(kSize, kSize, QImage::Format_RGB32);
  image.fill(Qt::black);
  // Fixed resolution (96 dpi) so the PNG header never depends on a screen.
  image.setDotsPerMeterX(3780);
  image.setDotsPerMeterY(3780);
  return image;
}

// Our own 5x7 block letters: drawing text this way needs no fonts, so the
// pictures do not change with the fonts installed on the machine.
const char* const* glyph(char c) {
  static const char* const kV[] = {"X...X", "X...X", "X...X", "X...X", "X...X", ".X.X.", "..X.."};
  static const char* const kR[] = {"XXXX.", "X...X", "X...X", "XXXX.", "X.X..", "X..X.", "X...X"};
  static const char* const kE[] = {"XXXXX", "X....", "X....", "XXXX.", "X....", "X....", "XXXXX"};
  static const char* const kM[] = {"X...X", "XX.XX", "X.X.X", "X.X.X", "X...X", "X...X", "X...X"};
  static const char* const kO[] = {".XXX.", "X...X", "X...X", "X...X", "X...X", "X...X", ".XXX."};
  static const char* const kI[] = {".XXX.", "..X..", "..X..", "..X..", "..X..", "..X..", ".XXX."};
  static const char* const kS[] = {".XXXX", "X....", "X....", ".XXX.", "....X", "....X", "XXXX."};
  switch (c) {
    case 'V': return kV;
    case 'R': return kR;
    case 'E': return kE;
    case 'M': return kM;
    case 'O': return kO;
    case 'I': return kI;
    case 'S': return kS;
    default: return nullptr;
  }
}

int block_text_width(const char* text, int cell) {
  int letters = 0;
  for (const char* p = text; *p != '\0'; ++p) ++letters;
  return letters * 5 * cell + (letters - 1) * cell;
}

void block_text(QPainter& painter, const char* text, int x, int y, int cell, const QColor& color) {
  // One merged outline, so anti-aliasing leaves no seams between blocks.
  QPainterPath path;
  for (const char* p = text; *p != '\0'; ++p, x += 6 * cell) {
    const char* const* rows = glyph(*p);
    if (rows == nullptr) continue;
    for (int row = 0; row < 7; ++row) {
      for (int col = 0; col < 5; ++col) {
        if (rows[row][col] == 'X') path.addRect(x + col * cell, y + row * cell, cell, cell);
      }
    }
  }
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawPath(path.simplified());
}

// Closed polygon from a wavy ridge line down to the bottom edge.
QPolygonF ridge(double base, double amp1, double freq1, double amp2, double freq2, double shift) {
  QPolygonF poly;
  poly << QPointF(0, kSize);
  for (int x = 0; x <= kSize; x += 4) {
    const double y = base + amp1 * std::sin(x * freq1 + shift) + amp2 * std::sin(x * freq2 + 2.0 * shift);
    poly << QPointF(x, y);
  }
  poly << QPointF(kSize, kSize);
  return poly;
}

}  // namespace

QImage draw_dawn() {
  QImage image = canvas();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);

  QLinearGradient sky(0, 0, 0, kSize);
  sky.setColorAt(0.0, QColor(11, 16, 48));
  sky.setColorAt(0.5, QColor(58, 31, 92));
  sky.setColorAt(0.85, QColor(240, 138, 93));
  p.fillRect(image.rect(), sky);

  Dice dice(2024);
  p.setPen(Qt::NoPen);
  for (int i = 0; i < 70; ++i) {
    const double x = dice.range(0, kSize);
    const double y = dice.range(0, 150);
    const int light = static_cast<int>(dice.range(140, 255));
    const double r = dice.range(0.5, 1.6);
    p.setBrush(QColor(light, light, 255));
    p.drawEllipse(QPointF(x, y), r, r);
  }

  QRadialGradient glow(QPointF(128, 205), 90);
  glow.setColorAt(0.0, QColor(255, 214, 130, 200));
  glow.setColorAt(1.0, QColor(255, 140, 90, 0));
  p.setBrush(glow);
  p.drawEllipse(QPointF(128, 205), 90, 90);

  QRadialGradient sun(QPointF(128, 205), 42);
  sun.setColorAt(0.0, QColor(255, 236, 160));
  sun.setColorAt(1.0, QColor(255, 123, 84));
  p.setBrush(sun);
  p.drawEllipse(QPointF(128, 205), 42, 42);

  p.setBrush(QColor(56, 28, 70));
  p.drawPolygon(ridge(206, 9, 0.035, 5, 0.09, 0.4));
  p.setBrush(QColor(26, 16, 48));
  p.drawPolygon(ridge(224, 7, 0.05, 4, 0.12, 2.1));

  const int cell = 6;
  const int x = (kSize - block_text_width("VREMO", cell)) / 2;
  block_text(p, "VREMO", x + 2, 52, cell, QColor(40, 20, 60));
  block_text(p, "VREMO", x, 50, cell, QColor(255, 243, 214));
  p.end();
  return image;
}

QImage draw_hills() {
  QImage image = canvas();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);

  QLinearGradient sky(0, 0, 0, 180);
  sky.setColorAt(0.0, QColor(126, 200, 240));
  sky.setColorAt(1.0, QColor(253, 233, 201));
  p.fillRect(image.rect(), sky);

  p.setPen(Qt::NoPen);
  p.setBrush(QColor(255, 241, 168));
  p.drawEllipse(QPointF(196, 52), 24, 24);

  // Clouds are clusters of overlapping circles.
  const std::array<QPointF, 2> clouds = {QPointF(62, 48), QPointF(150, 92)};
  p.setBrush(QColor(255, 255, 255, 230));
  for (const QPointF& c : clouds) {
    p.drawEllipse(c, 16, 12);
    p.drawEllipse(c + QPointF(-16, 5), 12, 9);
    p.drawEllipse(c + QPointF(17, 4), 13, 10);
    p.drawRoundedRect(QRectF(c.x() - 28, c.y() + 2, 58, 12), 6, 6);
  }

  p.setBrush(QColor(140, 200, 120));
  p.drawPolygon(ridge(150, 12, 0.025, 6, 0.07, 0.0));
  p.setBrush(QColor(96, 168, 98));
  p.drawPolygon(ridge(180, 14, 0.03, 5, 0.08, 1.7));
  p.setBrush(QColor(52, 118, 76));
  p.drawPolygon(ridge(214, 10, 0.04, 4, 0.11, 3.3));

  // A small tree on the front hill.
  p.setBrush(QColor(92, 60, 40));
  p.drawRect(QRectF(56, 196, 5, 18));
  p.setBrush(QColor(34, 96, 58));
  p.drawEllipse(QPointF(58.5, 190), 13, 15);
  p.end();
  return image;
}

QImage draw_tide() {
  QImage image = canvas();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);

  QLinearGradient sky(0, 0, 0, 140);
  sky.setColorAt(0.0, QColor(8, 28, 64));
  sky.setColorAt(1.0, QColor(31, 110, 140));
  p.fillRect(image.rect(), sky);

  p.setPen(Qt::NoPen);
  QRadialGradient halo(QPointF(176, 64), 60);
  halo.setColorAt(0.0, QColor(220, 240, 255, 120));
  halo.setColorAt(1.0, QColor(220, 240, 255, 0));
  p.setBrush(halo);
  p.drawEllipse(QPointF(176, 64), 60, 60);
  p.setBrush(QColor(232, 241, 242));
  p.drawEllipse(QPointF(176, 64), 30, 30);
  p.setBrush(QColor(200, 214, 222));
  p.drawEllipse(QPointF(166, 56), 6, 6);
  p.drawEllipse(QPointF(186, 74), 4, 4);

  // Wave bands, darker towards the viewer.
  for (int band = 0; band < 9; ++band) {
    const double base = 128 + band * 15;
    QPolygonF poly;
    poly << QPointF(0, kSize);
    for (int x = 0; x <= kSize; x += 4) {
      poly << QPointF(x, base + 4.0 * std::sin(x * 0.08 + band * 1.3));
    }
    poly << QPointF(kSize, kSize);
    const int shade = band % 2 == 0 ? 0 : 18;
    p.setBrush(QColor(20 + shade, 120 - band * 9 + shade, 150 - band * 8 + shade));
    p.drawPolygon(poly);
  }

  // Moonlight glints on the water.
  p.setBrush(QColor(232, 241, 242, 180));
  for (int i = 0; i < 6; ++i) {
    const double w = 26 - i * 3;
    p.drawRoundedRect(QRectF(176 - w / 2, 140 + i * 15, w, 3), 1.5, 1.5);
  }
  p.end();
  return image;
}

QImage draw_burst() {
  QImage image = canvas();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(Qt::NoPen);

  const QRectF around(-128, -128, 512, 512);
  const int rays = 16;
  for (int i = 0; i < rays; ++i) {
    p.setBrush(i % 2 == 0 ? QColor(255, 95, 143) : QColor(255, 179, 71));
    p.drawPie(around, i * 16 * 360 / rays, 16 * 360 / rays);
  }

  QRadialGradient core(QPointF(128, 128), 64);
  core.setColorAt(0.0, QColor(255, 246, 194));
  core.setColorAt(0.8, QColor(255, 154, 60));
  core.setColorAt(1.0, QColor(230, 80, 90));
  p.setBrush(core);
  p.drawEllipse(QPointF(128, 128), 60, 60);

  p.setBrush(Qt::NoBrush);
  for (int i = 0; i < 3; ++i) {
    p.setPen(QPen(QColor(255, 255, 255, 160 - i * 40), 3));
    p.drawEllipse(QPointF(128, 128), 72 + i * 14, 72 + i * 14);
  }
  p.end();
  return image;
}

QImage draw_night() {
  QImage image = canvas();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);

  const int horizon = 150;
  QLinearGradient sky(0, 0, 0, horizon);
  sky.setColorAt(0.0, QColor(18, 0, 36));
  sky.setColorAt(1.0, QColor(91, 26, 110));
  p.fillRect(QRect(0, 0, kSize, horizon), sky);
  p.fillRect(QRect(0, horizon, kSize, kSize - horizon), QColor(26, 6, 48));

  // Striped sun sitting on the horizon.
  p.save();
  p.setClipRect(QRect(0, 0, kSize, horizon));
  QLinearGradient sun(0, 75, 0, horizon);
  sun.setColorAt(0.0, QColor(255, 226, 110));
  sun.setColorAt(1.0, QColor(255, 70, 150));
  p.setPen(Qt::NoPen);
  p.setBrush(sun);
  p.drawEllipse(QPointF(128, 130), 55, 55);
  // Cut the stripes with the sky itself so they vanish outside the sun.
  QPainterPath disc;
  disc.addEllipse(QPointF(128, 130), 55, 55);
  p.setClipPath(disc, Qt::IntersectClip);
  for (int i = 0; i < 5; ++i) {
    const double y = 112 + i * 8;
    p.fillRect(QRectF(60, y, 136, 1.5 + i), sky);
  }
  p.restore();

  // Grid on the ground, lines meeting at the horizon.
  p.setPen(QPen(QColor(255, 60, 200), 1.5));
  for (int i = 0; i < 9; ++i) {
    const double y = horizon + 2 + i * i * 1.35;
    p.drawLine(QPointF(0, y), QPointF(kSize, y));
  }
  for (int i = -10; i <= 10; ++i) {
    p.drawLine(QPointF(128, horizon), QPointF(128 + i * 40, kSize));
  }
  p.setPen(QPen(QColor(255, 140, 230), 2));
  p.drawLine(QPointF(0, horizon), QPointF(kSize, horizon));

  Dice dice(77);
  p.setPen(Qt::NoPen);
  for (int i = 0; i < 40; ++i) {
    const double x = dice.range(0, kSize);
    const double y = dice.range(0, 90);
    p.setBrush(QColor(255, 220, 255, static_cast<int>(dice.range(90, 255))));
    p.drawEllipse(QPointF(x, y), 1.0, 1.0);
  }
  p.end();
  return image;
}

// Layers are drawn without anti-aliasing: soft edges would leave a dark
// fringe, since only exact black is see-through.
QImage draw_rings() {
  QImage image = canvas();
  QPainter p(&image);
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(QColor(64, 224, 255), 6));
  p.drawEllipse(QPointF(128, 128), 92, 92);
  p.setPen(QPen(QColor(240, 250, 255), 2));
  p.drawEllipse(QPointF(128, 128), 104, 104);
  p.setPen(QPen(QColor(255, 106, 213), 3));
  p.drawEllipse(QPointF(128, 128), 78, 78);

  const std::array<QColor, 3> dots = {QColor(255, 230, 90), QColor(64, 224, 255), QColor(255, 106, 213)};
  p.setPen(Qt::NoPen);
  for (int i = 0; i < 12; ++i) {
    const double a = i * kPi / 6.0;
    p.setBrush(dots[static_cast<std::size_t>(i % 3)]);
    p.drawEllipse(QPointF(128 + 117 * std::cos(a), 128 + 117 * std::sin(a)), 5, 5);
  }
  p.end();
  return image;
}

QImage draw_sparkles() {
  QImage image = canvas();
  QPainter p(&image);
  p.setPen(Qt::NoPen);

  const std::array<QColor, 4> colors = {QColor(255, 250, 200), QColor(160, 230, 255),
                                        QColor(255, 180, 230), QColor(200, 255, 190)};
  Dice dice(4242);
  for (int i = 0; i < 14; ++i) {
    const double x = dice.range(14, kSize - 14);
    const double y = dice.range(14, kSize - 14);
    const double r = dice.range(5, 14);
    const double w = r * 0.28;
    QPolygonF star;
    star << QPointF(x, y - r) << QPointF(x + w, y - w) << QPointF(x + r, y) << QPointF(x + w, y + w)
         << QPointF(x, y + r) << QPointF(x - w, y + w) << QPointF(x - r, y) << QPointF(x - w, y - w);
    p.setBrush(colors[static_cast<std::size_t>(i) % colors.size()]);
    p.drawPolygon(star);
  }

  // A few eighth notes floating between the sparkles.
  const std::array<QPointF, 3> notes = {QPointF(60, 90), QPointF(180, 170), QPointF(110, 210)};
  for (const QPointF& n : notes) {
    p.setBrush(QColor(255, 255, 255));
    p.drawEllipse(n, 8, 6);
    p.drawRect(QRectF(n.x() + 5, n.y() - 30, 3, 30));
    QPolygonF flag;
    flag << QPointF(n.x() + 8, n.y() - 30) << QPointF(n.x() + 18, n.y() - 20)
         << QPointF(n.x() + 16, n.y() - 16) << QPointF(n.x() + 8, n.y() - 23);
    p.drawPolygon(flag);
  }
  p.end();
  return image;
}

QImage draw_poor() {
  QImage image = canvas();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);

  QRadialGradient back(QPointF(128, 128), 180);
  back.setColorAt(0.0, QColor(176, 28, 28));
  back.setColorAt(1.0, QColor(70, 0, 8));
  p.fillRect(image.rect(), back);

  // Diagonal warning stripes.
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(255, 60, 60, 40));
  for (int i = -8; i < 8; ++i) {
    QPolygonF stripe;
    const double x = i * 40.0;
    stripe << QPointF(x, 0) << QPointF(x + 18, 0) << QPointF(x + 18 + kSize, kSize) << QPointF(x + kSize, kSize);
    p.drawPolygon(stripe);
  }

  // Crack across the picture.
  QPainterPath crack;
  crack.moveTo(0, 70);
  crack.lineTo(50, 84);
  crack.lineTo(80, 66);
  crack.lineTo(130, 90);
  crack.lineTo(170, 72);
  crack.lineTo(210, 96);
  crack.lineTo(256, 80);
  p.setBrush(Qt::NoBrush);
  p.setPen(QPen(QColor(255, 200, 200, 150), 2));
  p.drawPath(crack);

  const int cell = 9;
  const int x = (kSize - block_text_width("MISS", cell)) / 2;
  block_text(p, "MISS", x + 3, 100, cell, QColor(60, 0, 0));
  block_text(p, "MISS", x, 97, cell, QColor(255, 226, 226));
  p.end();
  return image;
}

}  // namespace demo
