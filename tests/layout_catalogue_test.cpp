// The layout catalogue: every layout at the edge counts, the geometry, the
// loader's rules and the orders. Expectations come from the written
// catalogue, told here in its own terms (a grid, its proportions and the
// cells of participants 0, 1, ...), never from the compiled-in text.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "harness.h"
#include "layout/layout_catalogue.h"
#include "log_capture.h"

using ORVANE::LayoutCatalogue;
using ORVANE::Rect;
using json = nlohmann::json;

namespace {

// [first row, end row, first column, end column], the ends exclusive.
struct Cell {
    int r0, r1, c0, c1;
};
struct Grid {
    int rows, cols, width, height;
};
using Cells = std::vector<Cell>;

// The first n grid places, row by row, one grid unit a cell.
Cells places(int n, int cols) {
    Cells out;
    for (int i = 0; i < n; ++i) out.push_back({i / cols, i / cols + 1, i % cols, i % cols + 1});
    return out;
}

// Every grid divides both sides of these containers, so a cell's corners
// are exact: the catalogue has no margin and no spacing.
const Rect kContainers[] = {{0, 0, 960, 720}, {-480, 100, 480, 820}};

Rect expected(const Rect& c, const Grid& g, const Cell& cell) {
    const int w = (c.right - c.left) / g.cols, h = (c.bottom - c.top) / g.rows;
    return {c.left + cell.c0 * w, c.top + cell.r0 * h, c.left + cell.c1 * w, c.top + cell.r1 * h};
}

std::string show(const Rect& r) {
    return "[" + std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," +
           std::to_string(r.bottom) + "]";
}

const Grid kSpeaker{45, 64, 64, 45};
const Cells kTop{{0, 45, 0, 64}};
const Cells kTopAnd1{{0, 36, 0, 64}, {36, 45, 24, 40}};
const Cells kTopAnd2{{0, 36, 0, 64}, {36, 45, 16, 32}, {36, 45, 32, 48}};
const Cells kTopAnd3{{0, 36, 0, 64}, {36, 45, 8, 24}, {36, 45, 24, 40}, {36, 45, 40, 56}};
const Cells kTopAnd4{{0, 36, 0, 64}, {36, 45, 0, 16}, {36, 45, 16, 32}, {36, 45, 32, 48}, {36, 45, 48, 64}};
const Grid kTwelve{12, 12, 1, 1};
const Cells kTopLeftAnd5{{0, 8, 0, 8}, {8, 12, 0, 4}, {8, 12, 4, 8}, {8, 12, 8, 12}, {4, 8, 8, 12}, {0, 4, 8, 12}};
const Cells kTopLeftAnd7{{0, 9, 0, 9},  {9, 12, 0, 3}, {9, 12, 3, 6}, {9, 12, 6, 9},
                         {9, 12, 9, 12}, {6, 9, 9, 12}, {3, 6, 9, 12}, {0, 3, 9, 12}};
const Grid k1x1{1, 1, 16, 9}, k1x2{1, 2, 32, 9}, k2x1{2, 1, 16, 18}, k2x2{2, 2, 32, 18}, k2x3{2, 3, 48, 18},
    k3x2{3, 2, 32, 27}, k3x3{3, 3, 48, 27}, k4x4{4, 4, 64, 36}, k2x2Narrow{2, 2, 16, 9}, k3x4{3, 4, 64, 27},
    kShared{1, 4, 64, 9}, kShared3V{3, 1, 16, 27};

// For `count` participants of layout `id`: the grid that answers and the
// cells of participants 0, 1, ... in it.
struct Row {
    int id;
    int count;
    Grid grid;
    Cells cells;
};

// Per layout: 0 (the default grid), 1, the size of each grid, one more
// than the largest grid.
const std::vector<Row> kRows = {
    {10, 0, kSpeaker, kTopAnd4},  {10, 1, kSpeaker, kTop},      {10, 2, kSpeaker, kTopAnd1},
    {10, 3, kSpeaker, kTopAnd2},  {10, 4, kSpeaker, kTopAnd3},  {10, 5, kSpeaker, kTopAnd4},
    {10, 6, kSpeaker, kTopAnd4},
    {11, 0, kSpeaker, kTopAnd1},  {11, 1, kSpeaker, kTopAnd1},  {11, 2, kSpeaker, kTopAnd1},
    {11, 3, kSpeaker, kTopAnd1},
    {12, 0, kSpeaker, kTopAnd2},  {12, 1, kSpeaker, kTopAnd2},  {12, 3, kSpeaker, kTopAnd2},
    {12, 4, kSpeaker, kTopAnd2},
    {13, 0, kSpeaker, kTopAnd3},  {13, 1, kSpeaker, kTopAnd3},  {13, 4, kSpeaker, kTopAnd3},
    {13, 5, kSpeaker, kTopAnd3},
    {14, 0, kSpeaker, kTopAnd4},  {14, 1, kSpeaker, kTopAnd4},  {14, 5, kSpeaker, kTopAnd4},
    {14, 6, kSpeaker, kTopAnd4},
    {15, 0, kTwelve, kTopLeftAnd5}, {15, 1, kTwelve, kTopLeftAnd5}, {15, 6, kTwelve, kTopLeftAnd5},
    {15, 7, kTwelve, kTopLeftAnd5},
    {17, 0, kTwelve, kTopLeftAnd7}, {17, 1, kTwelve, kTopLeftAnd7}, {17, 8, kTwelve, kTopLeftAnd7},
    {17, 9, kTwelve, kTopLeftAnd7},
    {20, 0, k4x4, places(16, 4)},  {20, 1, k1x1, places(1, 1)},   {20, 2, k1x2, places(2, 2)},
    {20, 3, k2x2Narrow, places(3, 2)}, {20, 4, k2x2, places(4, 2)}, {20, 5, k2x3, places(5, 3)},
    {20, 6, k2x3, places(6, 3)},   {20, 7, k3x3, places(7, 3)},   {20, 8, k3x3, places(8, 3)},
    {20, 9, k3x3, places(9, 3)},   {20, 10, k3x4, places(10, 4)}, {20, 11, k3x4, places(11, 4)},
    {20, 12, k3x4, places(12, 4)}, {20, 13, k4x4, places(13, 4)}, {20, 14, k4x4, places(14, 4)},
    {20, 15, k4x4, places(15, 4)}, {20, 16, k4x4, places(16, 4)}, {20, 17, k4x4, places(16, 4)},
    {20, 20, k4x4, places(16, 4)},
    {21, 0, k1x1, places(1, 1)},   {21, 1, k1x1, places(1, 1)},   {21, 2, k1x1, places(1, 1)},
    {22, 0, k1x2, places(2, 2)},   {22, 1, k1x2, places(2, 2)},   {22, 2, k1x2, places(2, 2)},
    {22, 3, k1x2, places(2, 2)},
    {23, 0, k2x1, places(2, 1)},   {23, 1, k2x1, places(2, 1)},   {23, 2, k2x1, places(2, 1)},
    {23, 3, k2x1, places(2, 1)},
    {24, 0, k2x2, places(4, 2)},   {24, 1, k2x2, places(4, 2)},   {24, 4, k2x2, places(4, 2)},
    {24, 5, k2x2, places(4, 2)},
    {25, 0, k2x3, places(6, 3)},   {25, 1, k2x3, places(6, 3)},   {25, 6, k2x3, places(6, 3)},
    {25, 7, k2x3, places(6, 3)},
    {26, 0, k3x2, places(6, 2)},   {26, 1, k3x2, places(6, 2)},   {26, 6, k3x2, places(6, 2)},
    {26, 7, k3x2, places(6, 2)},
    {27, 0, k3x3, places(9, 3)},   {27, 1, k3x3, places(9, 3)},   {27, 9, k3x3, places(9, 3)},
    {27, 10, k3x3, places(9, 3)},
    {28, 0, k4x4, places(16, 4)},  {28, 1, k4x4, places(16, 4)},  {28, 16, k4x4, places(16, 4)},
    {28, 17, k4x4, places(16, 4)},
    {30, 0, kShared, places(4, 4)}, {30, 1, kShared, places(1, 4)}, {30, 2, kShared, places(2, 4)},
    {30, 3, kShared, places(3, 4)}, {30, 4, kShared, places(4, 4)}, {30, 5, kShared, places(4, 4)},
    {31, 0, kShared, places(4, 4)}, {31, 1, kShared, places(1, 4)}, {31, 2, kShared, places(2, 4)},
    {31, 3, kShared, places(3, 4)}, {31, 4, kShared, places(4, 4)}, {31, 5, kShared, places(4, 4)},
    {32, 0, kShared3V, places(3, 1)}, {32, 1, kShared3V, places(1, 1)}, {32, 2, kShared3V, places(2, 1)},
    {32, 3, kShared3V, places(3, 1)}, {32, 4, kShared3V, places(3, 1)},
};

TEST(LayoutCatalogue, EveryLayoutAtTheEdgeCounts) {
    const LayoutCatalogue catalogue;
    for (const Row& row : kRows) {
        const std::string at = "layout " + std::to_string(row.id) + ", " + std::to_string(row.count) + " participants";
        int width = -1, height = -1;
        catalogue.getLayoutSize({}, row.id, row.count, &width, &height);
        EXPECT_EQ(width, row.grid.width) << at;
        EXPECT_EQ(height, row.grid.height) << at;
        for (const Rect& c : kContainers)
            for (size_t i = 0; i < row.cells.size(); ++i)
                EXPECT_EQ(show(catalogue.getCellRect(c, row.id, row.count, static_cast<int>(i))),
                          show(expected(c, row.grid, row.cells[i])))
                    << at << ", participant " << i << " in " << show(c);
    }
}

// A cell index past the grid of its count: the default grid answers when it
// has that index, else there is no place.
struct Past {
    int id, count, index;
    Grid grid;
    bool placed;
    Cell cell;
};
const std::vector<Past> kPast = {
    {10, 0, 5, {}, false, {}},        {10, 5, 5, {}, false, {}},        {10, 6, 5, {}, false, {}},
    {10, 1, 1, kSpeaker, true, {36, 45, 0, 16}}, {10, 2, 2, kSpeaker, true, {36, 45, 16, 32}},
    {11, 2, 2, {}, false, {}},        {11, 7, 1, kSpeaker, true, {36, 45, 24, 40}},
    {12, 3, 3, {}, false, {}},        {13, 4, 4, {}, false, {}},        {14, 5, 5, {}, false, {}},
    {15, 6, 6, {}, false, {}},        {17, 8, 8, {}, false, {}},        {17, 0, -1, {}, false, {}},
    {20, 0, 16, {}, false, {}},       {20, 16, 16, {}, false, {}},      {20, 20, 16, {}, false, {}},
    {20, 3, 3, k4x4, true, {0, 1, 3, 4}}, {20, 9, 12, k4x4, true, {3, 4, 0, 1}},
    {21, 1, 1, {}, false, {}},        {22, 2, 2, {}, false, {}},        {23, 2, 2, {}, false, {}},
    {24, 4, 4, {}, false, {}},        {25, 6, 6, {}, false, {}},        {26, 6, 6, {}, false, {}},
    {27, 9, 9, {}, false, {}},        {28, 16, 16, {}, false, {}},      {28, 0, 29, {}, false, {}},
    {30, 4, 4, {}, false, {}},        {30, 2, 2, kShared, true, {0, 1, 2, 3}},
    {31, 4, 4, {}, false, {}},        {31, 1, 3, kShared, true, {0, 1, 3, 4}},
    {32, 3, 3, {}, false, {}},        {32, 1, 1, kShared3V, true, {1, 2, 0, 1}},
};

TEST(LayoutCatalogue, CellIndexPastTheGrid) {
    const LayoutCatalogue catalogue;
    for (const Past& p : kPast) {
        const Rect c = kContainers[0];
        const Rect want = p.placed ? expected(c, p.grid, p.cell) : Rect{};
        EXPECT_EQ(show(catalogue.getCellRect(c, p.id, p.count, p.index)), show(want))
            << "layout " << p.id << ", " << p.count << " participants, index " << p.index;
    }
}

TEST(LayoutCatalogue, NumbersThatAreNoLayoutHaveNoPlace) {
    const LayoutCatalogue catalogue;
    for (int id : {-1, 0, 9, 16, 18, 19, 29, 33, 100}) {
        EXPECT_EQ(catalogue.getCellRect({0, 0, 960, 720}, id, 1, 0), Rect{}) << id;
        int width = 7, height = 8;
        catalogue.getLayoutSize({}, id, 1, &width, &height);
        EXPECT_EQ(width, 7) << id;
        EXPECT_EQ(height, 8) << id;
    }
    EXPECT_EQ(ORVANE::layoutModelName(16), nullptr);
    EXPECT_STREQ(ORVANE::layoutModelName(17), "Layout_Speaker_1TLP7");
    // Null out-arguments are not written.
    catalogue.getLayoutSize({}, 20, 1, nullptr, nullptr);
}

TEST(LayoutCatalogue, FitRect) {
    struct FitRow {
        Rect container;
        int width, height;
        Rect fitted;
    };
    const FitRow rows[] = {
        {{0, 0, 1600, 900}, 16, 9, {0, 0, 1600, 900}},
        {{0, 0, 1000, 900}, 16, 9, {0, 168, 1000, 731}},
        {{0, 0, 900, 1000}, 16, 9, {0, 246, 900, 753}},
        {{0, 0, 2000, 900}, 16, 9, {200, 0, 1800, 900}},
        {{10, 20, 1011, 921}, 4, 3, {10, 95, 1011, 845}},
        {{30, 40, 1030, 940}, 1, 1, {80, 40, 980, 940}},
        // Cut towards zero, not down.
        {{-1000, -900, 0, 0}, 16, 9, {-1000, -731, 0, -168}},
        {{5, 6, 7, 8}, 0, 9, {5, 6, 7, 8}},
        {{5, 6, 7, 8}, 16, 0, {5, 6, 7, 8}},
        // A container turned inside out, with absurd proportions: beyond 32
        // bits the result saturates.
        {{0, 0, -1000000, 1000}, 1, 10000, {0, INT32_MAX, -1000000, INT32_MIN}},
    };
    for (const FitRow& r : rows)
        EXPECT_EQ(show(LayoutCatalogue::fitRect(r.container, r.width, r.height)), show(r.fitted))
            << show(r.container) << " " << r.width << ":" << r.height;
}

TEST(LayoutCatalogue, ComputeCellRectWithMarginAndSpacing) {
    struct CellRow {
        Rect container;
        int spacing, margin, gridRow, gridColumn, rowStart, rowEnd, colStart, colEnd;
        Rect cell;
    };
    const CellRow rows[] = {
        // 1000 - 2*20 - 2*10 = 940 wide for 3 columns, 550 high for 2 rows.
        {{0, 0, 1000, 600}, 10, 20, 2, 3, 0, 1, 1, 2, {343, 20, 656, 295}},
        {{0, 0, 1000, 600}, 10, 20, 2, 3, 1, 2, 2, 3, {666, 305, 980, 580}},
        {{0, 0, 1000, 600}, 10, 20, 2, 3, 0, 2, 0, 3, {20, 20, 980, 580}},
        {{100, 200, 400, 500}, 0, 10, 1, 1, 0, 1, 0, 1, {110, 210, 390, 490}},
        {{100, 200, 400, 500}, 0, 0, 3, 3, 1, 2, 1, 2, {200, 300, 300, 400}},
        // No grid, or a cell that reaches past the grid or before it.
        {{0, 0, 1000, 600}, 0, 0, 0, 3, 0, 1, 0, 1, {}},
        {{0, 0, 1000, 600}, 0, 0, 2, 0, 0, 1, 0, 1, {}},
        {{0, 0, 1000, 600}, 0, 0, 2, 3, 0, 1, 2, 4, {}},
        {{0, 0, 1000, 600}, 0, 0, 2, 3, 1, 3, 0, 1, {}},
        {{0, 0, 1000, 600}, 0, 0, 2, 3, -1, 1, 0, 1, {}},
        {{0, 0, 1000, 600}, 0, 0, 2, 3, 0, 1, -1, 1, {}},
        {{0, 0, 1000, 600}, 0, 0, 1, 1, 0, 1, 0, INT32_MAX, {}},
    };
    for (const CellRow& r : rows) {
        // Width and height are not looked at.
        for (int proportions : {0, -5, 64})
            EXPECT_EQ(show(LayoutCatalogue::computeCellRect(r.container, r.spacing, r.margin, r.gridRow, r.gridColumn,
                                                            proportions, proportions, r.rowStart, r.rowEnd,
                                                            r.colStart, r.colEnd)),
                      show(r.cell))
                << show(r.container) << " grid " << r.gridRow << "x" << r.gridColumn << " cell [" << r.rowStart << ","
                << r.rowEnd << "," << r.colStart << "," << r.colEnd << "]";
    }
}

// The loader, on catalogues of the same shape.
json grid(int sumCount, int rows, int cols, json indices) {
    json g = {{"SumCount", sumCount}, {"GridRow", rows}, {"GridColumn", cols}, {"Width", cols},
              {"Height", rows},       {"Margin", 0},     {"Spacing", 0}};
    g.update(indices);
    return g;
}
json catalogueOf(json evolution) {
    return {{"LayoutConfig", {{{"Model", "Layout_Gallery_Auto"}, {"Type", "Gallery"}, {"Evolution", evolution}}}}};
}

TEST(LayoutCatalogue, LoaderReadsAGridsOwnCellsOnly) {
    LayoutCatalogue catalogue;
    const Rect c{0, 0, 100, 100};
    // A grid for 2 reads Index_0 and Index_1; a default grid reads up to
    // Index_29. Missing indices are skipped.
    catalogue.loadCatalogue(catalogueOf(json::array({
        grid(2, 1, 1, {{"Index_0", {0, 1, 0, 1}}, {"Index_1", {0, 1, 0, 1}}, {"Index_2", {0, 1, 0, 1}}}),
        grid(0, 10, 10, {{"Index_1", {1, 2, 1, 2}}, {"Index_29", {2, 3, 9, 10}}, {"Index_30", {0, 1, 0, 1}}}),
    })));
    EXPECT_EQ(catalogue.getCellRect(c, 20, 2, 1), (Rect{0, 0, 100, 100}));
    EXPECT_EQ(catalogue.getCellRect(c, 20, 2, 2), Rect{});
    EXPECT_EQ(catalogue.getCellRect(c, 20, 5, 0), Rect{});
    EXPECT_EQ(catalogue.getCellRect(c, 20, 5, 1), (Rect{10, 10, 20, 20}));
    EXPECT_EQ(catalogue.getCellRect(c, 20, 0, 29), (Rect{90, 20, 100, 30}));
    EXPECT_EQ(catalogue.getCellRect(c, 20, 0, 30), Rect{});
    // No cell 0 for 5 participants, so no size either.
    int width = -1, height = -1;
    catalogue.getLayoutSize({}, 20, 5, &width, &height);
    EXPECT_EQ(width, -1);
    catalogue.getLayoutSize({}, 20, 2, &width, &height);
    EXPECT_EQ(width, 1);
    // Each load starts empty: this one left no compiled-in layout, and loading
    // the compiled-in catalogue again drops this one.
    EXPECT_EQ(catalogue.getCellRect(c, 10, 1, 0), Rect{});
    catalogue.loadCatalogue();
    EXPECT_EQ(catalogue.getCellRect(c, 20, 2, 1), (Rect{50, 0, 100, 100}));
}

TEST(LayoutCatalogue, LoaderLogsATextOfAnotherShape) {
    orvtest::LogCapture logs;
    LayoutCatalogue catalogue;
    catalogue.loadCatalogue(json::parse(R"({"Layouts":[]})"));
    EXPECT_EQ(catalogue.getCellRect({0, 0, 100, 100}, 20, 1, 0), Rect{});
    EXPECT_EQ(logs.count("json ERROR! confsdk:ORVANE::LayoutCatalogue::loadCatalogue"), 1u);
}

// mergeLayoutOrder: stored order, the list now, what comes out.
TEST(LayoutCatalogue, MergeKeepsThoseWhoWereThereInTheirOrder) {
    using List = std::vector<std::string>;
    struct MergeRow {
        List stored;
        List list;
        List merged;
    };
    const MergeRow rows[] = {
        {{"a", "b", "c"}, {"c", "d", "a"}, {"a", "c", "d"}},
        {{}, {"b", "a"}, {"b", "a"}},
        {{"a", "b"}, {}, {}},
        {{"x", "y"}, {"e", "y", "f", "x"}, {"x", "y", "e", "f"}},
        // Each stored entry counts where it stands, each newcomer too.
        {{"a", "a", "b"}, {"a"}, {"a", "a"}},
        {{"a"}, {"n", "n"}, {"n", "n"}},
        // Bytes, not letters.
        {{"A", "b"}, {"a", "b"}, {"b", "a"}},
    };
    for (const MergeRow& r : rows) {
        LayoutCatalogue catalogue;
        catalogue.setLayoutOrder("k", r.stored);
        EXPECT_EQ(catalogue.mergeLayoutOrder("k", r.list), r.merged);
        EXPECT_EQ(catalogue.getLayoutOrder("k"), r.stored);
    }
}

TEST(LayoutCatalogue, OrdersByKey) {
    LayoutCatalogue catalogue;
    const std::vector<std::string> list = {"c", "a", "b"};
    EXPECT_EQ(catalogue.getLayoutOrder("gallery"), std::vector<std::string>{});
    EXPECT_EQ(catalogue.mergeLayoutOrder("gallery", list), list);
    catalogue.setLayoutOrder("gallery", {"a", "b"});
    catalogue.setLayoutOrder("", {"z"});
    catalogue.setLayoutOrder("gallery", {"b", "a"});
    EXPECT_EQ(catalogue.getLayoutOrder("gallery"), (std::vector<std::string>{"b", "a"}));
    EXPECT_EQ(catalogue.getLayoutOrder(""), std::vector<std::string>{"z"});
    EXPECT_EQ(catalogue.getLayoutOrder("Gallery"), std::vector<std::string>{});
    EXPECT_EQ(catalogue.mergeLayoutOrder("gallery", list), (std::vector<std::string>{"b", "a", "c"}));
}

// The application reaches all of it through ConfControlService.
TEST(LayoutCatalogue, ConfControlServiceForwards) {
    orvtest::Harness h;
    ORVANE::ConfSDK::ConfControlService& service = *h.sdk;
    EXPECT_EQ(service.getCellRect({0, 0, 960, 720}, 11, 7, 1), (Rect{360, 576, 600, 720}));
    int width = 0, height = 0;
    service.getLayoutSize({}, 30, 2, &width, &height);
    EXPECT_EQ(width, 64);
    EXPECT_EQ(height, 9);
    EXPECT_EQ(service.fitRect({0, 0, 1000, 900}, 16, 9), (Rect{0, 168, 1000, 731}));
    EXPECT_EQ(service.computeCellRect({0, 0, 1000, 600}, 10, 20, 2, 3, 0, 0, 1, 2, 2, 3), (Rect{666, 305, 980, 580}));
    service.setLayoutOrder("k", {"a", "b", "c"});
    EXPECT_EQ(service.getLayoutOrder("k"), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(service.mergeLayoutOrder("k", {"c", "d", "a"}), (std::vector<std::string>{"a", "c", "d"}));
    EXPECT_FALSE(h.logs.has("not implemented"));
}

}  // namespace
