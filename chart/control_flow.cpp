// Random and switch blocks resolved line by line.
#include "chart/control_flow.h"

#include <string>

#include "chart/chart_text.h"
#include "chart/numbers.h"
#include "chart/text_detect.h"

namespace vremo {
namespace {

// Deeper nesting than this is broken input: further blocks are not opened.
constexpr size_t kMaxDepth = 256;

std::u32string UpperWord(std::u32string_view line, size_t& length) {
  std::u32string word;
  length = 0;
  while (length < line.size()) {
    char32_t c = line[length];
    if (c >= U'a' && c <= U'z') c -= 32;
    if (c < U'A' || c > U'Z') break;
    word.push_back(c);
    ++length;
  }
  return word;
}

int32_t ArgumentValue(std::u32string_view argument) {
  const auto number = ParseNumber(TrimSpace(argument));
  return number ? RoundToInt32(*number).value_or(0) : 0;
}

}  // namespace

int32_t ChartRandom::Draw(int32_t range) {
  const uint64_t x = engine_();
  return 1 + static_cast<int32_t>((x * static_cast<uint64_t>(range)) >> 32);
}

int32_t ControlFlow::Draw(std::u32string_view word, int32_t range) {
  if (!Active() || range < 1) return 0;
  const int32_t value = random_.Draw(range);
  drew_ = true;
  log_.PutLog("  #" + ToUtf8(word) + " " + std::to_string(range) + " -> " + std::to_string(value));
  return value;
}

void ControlFlow::Open(Kind kind, int32_t value) {
  if (frames_.size() >= kMaxDepth) return;
  Frame frame;
  frame.kind = kind;
  frame.outer = Active();
  frame.value = value;
  frame.active = kind == Kind::kRandom ? frame.outer : false;
  if (kind == Kind::kIf) {
    frame.matched = CurrentValue() == value;
    frame.active = frame.outer && frame.matched;
    frame.value = 0;
  }
  frames_.push_back(frame);
}

void ControlFlow::Close(Kind kind) {
  for (size_t i = frames_.size(); i > 0; --i) {
    if (frames_[i - 1].kind == kind) {
      frames_.resize(i - 1);
      return;
    }
  }
}

int32_t ControlFlow::CurrentValue() const {
  for (auto it = frames_.rbegin(); it != frames_.rend(); ++it) {
    if (it->kind != Kind::kIf) return it->value;
  }
  return 0;
}

bool ControlFlow::Feed(std::u32string_view line) {
  if (line.empty() || (line[0] >= U'0' && line[0] <= U'9')) return false;  // a channel line
  size_t length = 0;
  const std::u32string word = UpperWord(line, length);
  const int32_t argument = ArgumentValue(line.substr(length));
  Frame* top = frames_.empty() ? nullptr : &frames_.back();
  if (word == U"RANDOM" || word == U"SETRANDOM") {
    const int32_t value = word == U"RANDOM" ? Draw(word, argument) : argument;
    // A new random block right after one left open replaces it.
    if (top != nullptr && top->kind == Kind::kRandom) {
      top->value = value;
    } else {
      Open(Kind::kRandom, value);
    }
  } else if (word == U"ENDRANDOM") {
    Close(Kind::kRandom);
  } else if (word == U"IF") {
    Open(Kind::kIf, argument);
  } else if (word == U"ELSEIF" || word == U"ELSE") {
    if (top == nullptr || top->kind != Kind::kIf) return true;
    const bool take = !top->matched && (word == U"ELSE" || CurrentValue() == argument);
    top->matched = top->matched || take;
    top->active = top->outer && take;
  } else if (word == U"ENDIF") {
    Close(Kind::kIf);
  } else if (word == U"SWITCH" || word == U"SETSWITCH") {
    Open(Kind::kSwitch, word == U"SWITCH" ? Draw(word, argument) : argument);
  } else if (word == U"CASE" || word == U"DEF") {
    if (top == nullptr || top->kind != Kind::kSwitch || top->skipped) return true;
    // A case runs on into the next one until #SKIP; #DEF runs when no case did.
    const bool take = word == U"CASE" ? top->value == argument : !top->matched;
    if (take) top->matched = true;
    top->active = top->outer && (top->active || take);
  } else if (word == U"SKIP") {
    if (top == nullptr || top->kind != Kind::kSwitch || !top->active) return true;
    top->skipped = true;
    top->active = false;
  } else if (word == U"ENDSW") {
    Close(Kind::kSwitch);
  } else {
    return false;
  }
  return true;
}

}  // namespace vremo
