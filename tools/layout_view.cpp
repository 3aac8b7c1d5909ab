#include "layout_view.h"

#include <algorithm>
#include <cmath>

namespace orvlayout {

std::vector<std::string> cellTable(const Placement& placement) {
    std::vector<std::vector<std::string>> rows = {{"index", "left", "top", "right", "bottom", "width", "height"}};
    for (const PlacedCell& c : placement.cells) {
        const ORVANE::Rect& r = c.rect;
        rows.push_back({std::to_string(c.index), std::to_string(r.left), std::to_string(r.top), std::to_string(r.right),
                        std::to_string(r.bottom), std::to_string(r.right - r.left), std::to_string(r.bottom - r.top)});
    }
    std::vector<size_t> width(rows[0].size(), 0);
    for (const auto& row : rows)
        for (size_t i = 0; i < row.size(); ++i) width[i] = std::max(width[i], row[i].size());
    std::vector<std::string> out;
    for (const auto& row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) line += std::string(width[i] - row[i].size() + 2, ' ') + row[i];
        out.push_back(line);
    }
    return out;
}

std::vector<std::string> cellDrawing(const Placement& placement, ORVANE::Rect area, int columns, int rows) {
    const double w = area.right - area.left, h = area.bottom - area.top;
    if (w <= 0 || h <= 0 || columns < 2 || rows < 2) return {};
    // A character is about twice as high as it is wide.
    int cw = columns;
    int ch = static_cast<int>(std::lround(cw * h / w / 2));
    if (ch > rows) {
        ch = rows;
        cw = static_cast<int>(std::lround(ch * 2 * w / h));
    }
    cw = std::max(cw, 2);
    ch = std::max(ch, 2);
    std::vector<std::string> canvas(ch, std::string(cw, ' '));
    auto col = [&](int x) { return static_cast<int>(std::lround((x - area.left) * (cw - 1) / w)); };
    auto row = [&](int y) { return static_cast<int>(std::lround((y - area.top) * (ch - 1) / h)); };
    // Edges that cross or meet become corners.
    auto put = [&](int r, int c, char mark) {
        if (r < 0 || r >= ch || c < 0 || c >= cw) return;
        char& at = canvas[r][c];
        at = at == ' ' || at == mark ? mark : '+';
    };
    for (const PlacedCell& cell : placement.cells) {
        const int c0 = col(cell.rect.left), c1 = col(cell.rect.right);
        const int r0 = row(cell.rect.top), r1 = row(cell.rect.bottom);
        for (int c = c0; c <= c1; ++c) {
            put(r0, c, c == c0 || c == c1 ? '+' : '-');
            put(r1, c, c == c0 || c == c1 ? '+' : '-');
        }
        for (int r = r0 + 1; r < r1; ++r) {
            put(r, c0, '|');
            put(r, c1, '|');
        }
        const std::string label = std::to_string(cell.index);
        const int labelRow = (r0 + r1) / 2;
        const int labelCol = (c0 + c1 + 1 - static_cast<int>(label.size())) / 2;
        if (r1 - r0 >= 2 && c1 - c0 > static_cast<int>(label.size()))
            for (size_t i = 0; i < label.size(); ++i) canvas[labelRow][labelCol + i] = label[i];
    }
    for (std::string& line : canvas) line.erase(line.find_last_not_of(' ') + 1);
    return canvas;
}

}  // namespace orvlayout
