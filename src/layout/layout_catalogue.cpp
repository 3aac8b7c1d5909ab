#include "layout/layout_catalogue.h"

#include <cstdint>
#include <limits>
#include <set>

#include "ctrlsdk_utils.h"
#include "logger.h"

namespace ORVANE {

using json = nlohmann::json;

namespace {

// A default grid names at most this many cells.
constexpr int kDefaultGridCells = 30;

// The catalogue parsed once for the process. Without exceptions: a text that
// does not parse is a value without keys, and the catalogue stays empty.
const json& parsedCatalogue() {
    static const json parsed = json::parse(layoutConfigText, nullptr, false);
    return parsed;
}
// Parsed while the library loads rather than by the first central object.
[[maybe_unused]] const json& parsedAtLoad = parsedCatalogue();

std::string cellKey(const std::string& model, int sumCount, int index) {
    return model + "|" + std::to_string(sumCount) + "|" + std::to_string(index);
}

// Towards zero, as a cast would, but a value beyond 32 bits (a container
// near the limits, absurd proportions) saturates instead of being undefined.
int32_t cut(double v) {
    if (v >= static_cast<double>(std::numeric_limits<int32_t>::max())) return std::numeric_limits<int32_t>::max();
    if (v <= static_cast<double>(std::numeric_limits<int32_t>::min())) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

}  // namespace

const std::vector<LayoutModel>& layoutModels() {
    // The numbers in between are not layouts.
    static const std::vector<LayoutModel> models = {
        {10, "Layout_Speaker_Auto"}, {11, "Layout_Speaker_1TP1B"}, {12, "Layout_Speaker_1TP2H"},
        {13, "Layout_Speaker_1TP3H"}, {14, "Layout_Speaker_1TP4H"}, {15, "Layout_Speaker_1TLP5"},
        {17, "Layout_Speaker_1TLP7"}, {20, "Layout_Gallery_Auto"},  {21, "Layout_Gallery_1x1"},
        {22, "Layout_Gallery_1x2"},  {23, "Layout_Gallery_2x1"},   {24, "Layout_Gallery_2x2"},
        {25, "Layout_Gallery_2x3"},  {26, "Layout_Gallery_3x2"},   {27, "Layout_Gallery_3x3"},
        {28, "Layout_Gallery_4x4"},  {30, "Layout_Shared_Auto"},   {31, "Layout_Shared_4H"},
        {32, "Layout_Shared_3V"},
    };
    return models;
}

const char* layoutModelName(int layoutId) {
    for (const LayoutModel& m : layoutModels())
        if (m.id == layoutId) return m.name;
    return nullptr;
}

LayoutCatalogue::LayoutCatalogue() { loadCatalogue(); }

void LayoutCatalogue::loadCatalogue() { loadCatalogue(parsedCatalogue()); }

void LayoutCatalogue::loadCatalogue(const json& config) {
    cells.clear();
    try {
        // "Type" tells speaker from gallery layouts; the geometry does not need it.
        for (const json& model : config.at("LayoutConfig")) {
            const std::string name = model.at("Model").get<std::string>();
            for (const json& grid : model.at("Evolution")) {
                LayoutCell cell;
                cell.gridRow = grid.at("GridRow").get<int>();
                cell.gridColumn = grid.at("GridColumn").get<int>();
                cell.width = grid.at("Width").get<int>();
                cell.height = grid.at("Height").get<int>();
                cell.margin = grid.at("Margin").get<int>();
                cell.spacing = grid.at("Spacing").get<int>();
                const int sumCount = grid.at("SumCount").get<int>();
                // A grid for n participants has at most n cells; indices
                // beyond are not read, missing ones are skipped.
                const int n = sumCount == 0 ? kDefaultGridCells : sumCount;
                for (int i = 0; i < n; ++i) {
                    const auto found = grid.find("Index_" + std::to_string(i));
                    if (found == grid.end()) continue;
                    const json& range = *found;
                    cell.rowStart = range.at(0).get<int>();
                    cell.rowEnd = range.at(1).get<int>();
                    cell.colStart = range.at(2).get<int>();
                    cell.colEnd = range.at(3).get<int>();
                    cells[cellKey(name, sumCount, i)] = cell;
                }
            }
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(config));
    }
}

const LayoutCell* LayoutCatalogue::findCell(int layoutId, int sumCount, int index) const {
    const char* model = layoutModelName(layoutId);
    if (model == nullptr) return nullptr;
    auto found = cells.find(cellKey(model, sumCount, index));
    if (found == cells.end()) found = cells.find(cellKey(model, 0, index));
    return found == cells.end() ? nullptr : &found->second;
}

void LayoutCatalogue::getLayoutSize(Rect, int layoutId, int sumCount, int* width, int* height) const {
    const LayoutCell* cell = findCell(layoutId, sumCount, 0);
    if (cell == nullptr) return;
    if (width) *width = cell->width;
    if (height) *height = cell->height;
}

Rect LayoutCatalogue::fitRect(Rect container, int width, int height) {
    if (width == 0 || height == 0) return container;
    const double W = static_cast<double>(container.right) - container.left;
    const double H = static_cast<double>(container.bottom) - container.top;
    double newWidth = W, newHeight = H;
    if (W / width > H / height)
        newWidth = width * H / height;
    else
        newHeight = height * W / width;
    const double dx = (W - newWidth) * 0.5;
    const double dy = (H - newHeight) * 0.5;
    return {cut(container.left + dx), cut(container.top + dy), cut(container.right - dx), cut(container.bottom - dy)};
}

Rect LayoutCatalogue::getCellRect(Rect container, int layoutId, int sumCount, int index) const {
    const LayoutCell* c = findCell(layoutId, sumCount, index);
    if (c == nullptr) return {};
    return computeCellRect(container, c->spacing, c->margin, c->gridRow, c->gridColumn, c->width, c->height,
                           c->rowStart, c->rowEnd, c->colStart, c->colEnd);
}

Rect LayoutCatalogue::computeCellRect(Rect container, int spacing, int margin, int gridRow, int gridColumn, int,
                                      int, int rowStart, int rowEnd, int colStart, int colEnd) {
    if (gridRow == 0 || gridColumn == 0) return {};
    // In 64 bits: the same numbers as 32 wherever those do not overflow.
    const int64_t innerW = int64_t{container.right} - container.left - 2 * int64_t{margin} -
                           (int64_t{gridColumn} - 1) * spacing;
    const int64_t innerH = int64_t{container.bottom} - container.top - 2 * int64_t{margin} -
                           (int64_t{gridRow} - 1) * spacing;
    const double stepX = spacing + static_cast<double>(innerW) / gridColumn;
    const double stepY = spacing + static_cast<double>(innerH) / gridRow;
    const double x0 = static_cast<double>(container.left) + margin;
    const double y0 = static_cast<double>(container.top) + margin;
    const Rect r{cut(colStart * stepX + x0), cut(rowStart * stepY + y0), cut(colEnd * stepX + x0 - spacing),
                 cut(rowEnd * stepY + y0 - spacing)};
    if (r.left < container.left || r.top < container.top || r.right > container.right ||
        r.bottom > container.bottom)
        return {};
    return r;
}

void LayoutCatalogue::setLayoutOrder(std::string key, std::vector<std::string> list) {
    std::lock_guard<std::mutex> lock(ordersMutex_);
    orders[std::move(key)] = std::move(list);
}

std::vector<std::string> LayoutCatalogue::getLayoutOrder(std::string key) const {
    std::lock_guard<std::mutex> lock(ordersMutex_);
    const auto found = orders.find(key);
    return found == orders.end() ? std::vector<std::string>{} : found->second;
}

std::vector<std::string> LayoutCatalogue::mergeLayoutOrder(std::string key, std::vector<std::string> list) const {
    std::vector<std::string> stored;
    {
        std::lock_guard<std::mutex> lock(ordersMutex_);
        const auto found = orders.find(key);
        if (found == orders.end()) return list;
        stored = found->second;
    }
    const std::set<std::string> given(list.begin(), list.end());
    const std::set<std::string> before(stored.begin(), stored.end());
    std::vector<std::string> merged;
    merged.reserve(list.size());
    for (auto& s : stored)
        if (given.count(s)) merged.push_back(std::move(s));
    for (auto& l : list)
        if (!before.count(l)) merged.push_back(std::move(l));
    return merged;
}

}  // namespace ORVANE
