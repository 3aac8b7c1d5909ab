// The layout lookup: two string joins and one tree search when the count has
// a grid of its own, two when the default grid answers.
#include <benchmark/benchmark.h>

#include "layout/layout_catalogue.h"

namespace {

void BM_GetCellRect(benchmark::State& state, int layoutId, int sumCount, int index) {
    const ORVANE::LayoutCatalogue catalogue;
    const ORVANE::Rect window{0, 0, 1920, 1080};
    for (auto _ : state) benchmark::DoNotOptimize(catalogue.getCellRect(window, layoutId, sumCount, index));
}
BENCHMARK_CAPTURE(BM_GetCellRect, own_grid, 20, 9, 4);
BENCHMARK_CAPTURE(BM_GetCellRect, default_grid, 20, 20, 12);
BENCHMARK_CAPTURE(BM_GetCellRect, no_place, 20, 20, 16);

}  // namespace
