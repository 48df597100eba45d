// Non-recursive quicksort with an explicit stack of ranges.
#include "chart/chart_sort.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vremo {

namespace {

// What the sort looks at and moves: the position and where the object came
// from. Moving these 8 bytes instead of whole objects, then placing the
// objects once, gives the same order several times faster.
struct SortKey {
  int32_t y;
  int32_t index;
};

void SortKeys(SortKey* keys, int32_t count) {
  struct Range {
    int32_t low;
    int32_t high;
  };
  std::vector<Range> stack;
  stack.reserve(static_cast<size_t>(count) + 1);
  stack.push_back({0, count - 1});
  auto y = [keys](int32_t i) { return keys[i].y; };
  while (!stack.empty()) {
    const Range range = stack.back();
    stack.pop_back();
    const int32_t low = range.low;
    const int32_t high = range.high;
    if (low >= high) continue;

    const int32_t mid = (low + high) / 2;
    const int32_t a = std::min(y(mid), y(low));
    const int32_t b = std::max(y(mid), y(low));
    int32_t pivot = b;
    if (y(high) < pivot) {
      pivot = y(high);
      if (pivot < a) pivot = a;
    }

    int32_t i = low - 1;
    int32_t j = high + 1;
    for (;;) {
      do ++i;
      while (y(i) < pivot);
      do --j;
      while (y(j) > pivot);
      if (i >= j) break;
      std::swap(keys[i], keys[j]);
    }
    // The right part takes the popped range's place, the left part goes on
    // top so that it is taken next.
    stack.push_back({j + 1, high});
    stack.push_back({low, i - 1});
  }
}

}  // namespace

void SortObjectsByY(ChartObject* objects, int32_t count) {
  if (count < 2) return;
  std::vector<SortKey> keys(static_cast<size_t>(count));
  for (int32_t k = 0; k < count; ++k) keys[k] = {objects[k].y, k};
  SortKeys(keys.data(), count);
  // Entry k takes the object that was at keys[k].index, one cycle at a time.
  constexpr int32_t kPlaced = -1;
  for (int32_t k = 0; k < count; ++k) {
    if (keys[k].index == kPlaced) continue;
    const ChartObject first = objects[k];
    int32_t to = k;
    for (;;) {
      const int32_t from = keys[to].index;
      keys[to].index = kPlaced;
      if (from == k) {
        objects[to] = first;
        break;
      }
      objects[to] = objects[from];
      to = from;
    }
  }
}

}  // namespace vremo
