#include "chart/chart_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vremo {
namespace {

std::vector<std::u32string> LinesOf(const std::string& bytes) {
  std::vector<std::u32string> lines;
  ForEachChartLine(PrepareChartText(DecodeChartBytes(bytes)),
                   [&lines](std::u32string_view line) { lines.emplace_back(line); });
  return lines;
}

using Lines = std::vector<std::u32string>;

TEST(ChartLineSplitting, OnlyLinesStartingWithHashCountEndedByCrLf) {
  EXPECT_EQ(LinesOf("#TITLE a\r\n #ARTIST hidden\r\nx#GENRE hidden\r\n*comment\r\n#BPM 120\r\n"),
            (Lines{U"TITLE a", U"BPM 120"}));
  // An unterminated last line loses its last character.
  EXPECT_EQ(LinesOf("#TITLE a\r\n#00111:0101"), (Lines{U"TITLE a", U"00111:010"}));
  EXPECT_EQ(LinesOf("#00111:0101\r\n"), (Lines{U"00111:0101"}));
  // The line end is searched from the second character: a lone "#" runs on into the next line, which is lost.
  EXPECT_EQ(LinesOf("#\r\n#TITLE a\r\n#GENRE b\r\n"), (Lines{U"\r\n#TITLE a", U"GENRE b"}));
  // Files with CR only are converted, files with LF only are not.
  EXPECT_EQ(LinesOf("#TITLE a\r#GENRE b\r"), (Lines{U"TITLE a", U"GENRE b"}));
  // One CR LF anywhere and lone CRs stay as they are.
  EXPECT_EQ(LinesOf("#TITLE a\r\n#GENRE b\r#ARTIST c\r\n"), (Lines{U"TITLE a", U"GENRE b\r#ARTIST c"}));
  EXPECT_EQ(LinesOf("#TITLE a\n#00111:01\n"), (Lines{U"TITLE a\n#00111:01"}));
}

// The reader decodes line by line; it must find what the whole text gives.
TEST(ChartLineSplitting, LineByLineDecodingGivesTheWholeTextsLines) {
  auto lineByLine = [](const std::string& bytes) {
    Lines lines;
    ForEachChartTextLine(bytes, [&lines](std::u32string_view line) { lines.emplace_back(line); });
    return lines;
  };
  // An unterminated last line loses its last character, a double-byte one whole.
  EXPECT_EQ(lineByLine("#TITLE \x83\x65\r\n#ARTIST \x83\x65\x83\x58"), (Lines{U"TITLE \u30C6", U"ARTIST \u30C6"}));
  for (const std::string& bytes : {
           std::string("#TITLE \x83\x65\r\n#ARTIST \x83\x65\x83\x58"),
           std::string("\r\n#GENRE \x81\r\n#TITLE \x83\xFF\x83\r\n#"),  // broken pairs, a last lone "#"
           std::string("x\x83\r\n#\x83\x65\r\n#\r\n#BPM 1\r\n#\x83"),
           std::string("\xEF\xBB\xBF#TITLE \xC3\xBC\r\n#GENRE \xE3\x83\x86"),  // UTF-8
           std::string("#TITLE \x83\x65\r#GENRE \x81\r#00111:01\r"),           // CR only
           std::string("#TITLE \x83\x65\r\n#\x83\x65\0#GENRE b\r\n", 22),      // up to the NUL
       }) {
    EXPECT_EQ(lineByLine(bytes), LinesOf(bytes)) << bytes;
  }
}

TEST(ChartTextDecoding, Utf8AndShiftJisEndingAtTheFirstNul) {
  EXPECT_EQ(DecodeChartBytes("\xEF\xBB\xBF#TITLE \xC3\xBC"), U"#TITLE \u00FC");
  EXPECT_EQ(DecodeChartBytes("#TITLE \xE3\x83\x86"), U"#TITLE \u30C6");
  // Without UTF-8 it is CP932: "テスト", the circled digit one and the wave dash.
  EXPECT_EQ(DecodeChartBytes("#TITLE \x83\x65\x83\x58\x83\x67"), U"#TITLE \u30C6\u30B9\u30C8");
  EXPECT_EQ(DecodeChartBytes("\x87\x40\x81\x60"), U"\u2460\uFF5E");
  // A byte that is no character does not stop the text; a NUL does.
  EXPECT_EQ(DecodeChartBytes("\x83\x65\xFF#A"), U"\u30C6\uFFFD#A");
  EXPECT_EQ(DecodeChartBytes(std::string("#TITLE a\0#GENRE b", 17)), U"#TITLE a");
  EXPECT_EQ(DecodeChartBytes(std::string("\0#TITLE a", 9)), U"");

  const std::u32string text = U"\u30C6\u30B9\u30C8 \U0001F3B5 a";
  EXPECT_EQ(FromUtf8(ToUtf8(text)), text);
  EXPECT_EQ(TrimBlanks(U"  a b \t "), U"a b \t");
  EXPECT_EQ(MidFrom(U"abc", 2), U"bc");
  EXPECT_EQ(MidFrom(U"abc", 4), U"");
}

}  // namespace
}  // namespace vremo
