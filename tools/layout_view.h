// A layout as the application sees it: the cells the library gives a number
// of participants, and (for orvane-cli) the same as text.
#pragma once

#include <orvane/types.h>

#include <string>
#include <vector>

namespace orvlayout {

struct PlacedCell {
    int index;
    ORVANE::Rect rect;
};

// The participants past the cells, for whom the library gives four zeros.
struct Placement {
    std::vector<PlacedCell> cells;
    int unplaced = 0;
};

// Participants 0 .. count-1 of layout `id` in `area`. For a count of 0, the
// cells of the default grid, until the first that has no place.
// `Layouts` is ConfControlService or the library's catalogue itself.
template <typename Layouts>
Placement placeParticipants(Layouts& layouts, ORVANE::Rect area, int id, int count) {
    Placement out;
    const ORVANE::Rect none{};
    // No grid has more cells than this; it only bounds the default's walk.
    constexpr int kWalkLimit = 64;
    for (int i = 0; i < (count > 0 ? count : kWalkLimit); ++i) {
        const ORVANE::Rect r = layouts.getCellRect(area, id, count, i);
        if (r != none)
            out.cells.push_back({i, r});
        else if (count > 0)
            ++out.unplaced;
        else
            break;
    }
    return out;
}

// The cells as a table of index and rectangle.
std::vector<std::string> cellTable(const Placement& placement);
// A coarse drawing in characters of the cells within `area`, at most
// `columns` wide and `rows` high, each cell boxed with its index inside.
std::vector<std::string> cellDrawing(const Placement& placement, ORVANE::Rect area, int columns, int rows);

}  // namespace orvlayout
