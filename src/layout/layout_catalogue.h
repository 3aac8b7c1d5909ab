#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "orvane/types.h"

namespace ORVANE {

// The catalogue as JSON text, compiled in (layout_config_text.cpp).
extern const char* const layoutConfigText;

// One cell of a grid: where a participant's picture goes, in grid units.
struct LayoutCell {
    Rect rect;  // always zero in the catalogue; for the caller's use
    int spacing = 0;
    int margin = 0;
    int gridRow = 0;
    int gridColumn = 0;
    int width = 0;   // the grid's proportions, width to height
    int height = 0;
    int rowStart = 0;  // the ends are exclusive
    int rowEnd = 0;
    int colStart = 0;
    int colEnd = 0;
};

// A model and the number by which callers name it.
struct LayoutModel {
    int id;
    const char* name;
};
// Every model of the catalogue, by rising id.
const std::vector<LayoutModel>& layoutModels();
// The model's name, or null when `layoutId` is not a layout.
const char* layoutModelName(int layoutId);

// The fixed catalogue of video layouts and its geometry, and the callers'
// orders of participants. The central object owns one; ConfControlService
// forwards to it unchanged.
//
// Nothing here fails loudly: no model, no cell or a cell that does not fit
// ends in a zero rectangle or in out-arguments left as they were. Nothing
// throws.
//
// @par Thread Safety
// Any thread. The cells are written only by the constructor (and
// loadCatalogue, which callers outside tests do not use afterwards) and are
// read-only after that; the orders have a mutex of their own, a leaf that is
// held for the copy of one list and never while calling out.
class LayoutCatalogue {
public:
    // Fills the cells from the compiled-in catalogue.
    LayoutCatalogue();
    LayoutCatalogue(const LayoutCatalogue&) = delete;
    LayoutCatalogue& operator=(const LayoutCatalogue&) = delete;

    // Empties the cells and fills them from the compiled-in catalogue.
    void loadCatalogue();
    // The same from another catalogue of that shape; a text that does not
    // have it leaves the cells it could read and logs the JSON error.
    void loadCatalogue(const nlohmann::json& config);

    // The proportions of a layout's grid for `sumCount` participants.
    // `container` is not looked at. An unknown layout, or one without a cell
    // 0 for that count, leaves `*width` and `*height` as they are; a null
    // pointer is not written.
    void getLayoutSize(Rect container, int layoutId, int sumCount, int* width, int* height) const;
    // The largest rectangle of `width` to `height` centred in `container`;
    // `container` itself when either is 0.
    static Rect fitRect(Rect container, int width, int height);
    // Where participant `index` of `sumCount` goes in `container`; four
    // zeros when the layout has no such cell.
    Rect getCellRect(Rect container, int layoutId, int sumCount, int index) const;
    // The same from bare numbers; `width` and `height` are not looked at.
    // Four zeros when the grid is empty or the cell does not lie inside
    // `container`.
    static Rect computeCellRect(Rect container, int spacing, int margin, int gridRow, int gridColumn, int width,
                                int height, int rowStart, int rowEnd, int colStart, int colEnd);

    // Stores `list` under `key`, replacing what stood there. Keys mean
    // nothing to the library.
    void setLayoutOrder(std::string key, std::vector<std::string> list);
    // A copy of the list under `key`, or an empty list.
    std::vector<std::string> getLayoutOrder(std::string key) const;
    // `list` in the order stored under `key`: those who were there keep
    // their relative order, newcomers follow in theirs. `list` itself when
    // nothing is stored. The stored list is not changed.
    std::vector<std::string> mergeLayoutOrder(std::string key, std::vector<std::string> list) const;

    // The cell of participant `index` of `sumCount`, from the grid of that
    // count or else from the model's default grid; null when neither has it.
    const LayoutCell* findCell(int layoutId, int sumCount, int index) const;

private:
    // Keyed "Model|SumCount|Index", as in "Layout_Gallery_Auto|3|2".
    std::map<std::string, LayoutCell> cells;
    mutable std::mutex ordersMutex_;
    std::map<std::string, std::vector<std::string>> orders;
};

}  // namespace ORVANE
