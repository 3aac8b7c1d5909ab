// orvane-layout-svg: draws a layout of the library's catalogue as SVG.
//
//   orvane-layout-svg ID COUNT     layout ID for COUNT participants, on standard output
//   orvane-layout-svg --docs DIR   DIR/layouts.md and DIR/layouts/*.svg: every layout for
//                                  1, 2, 4, 9 and 16 participants and the most it places
//
// The picture is the grid that answers for that count, and each
// participant's cell with its index, as getCellRect gives them in a box of
// the layout's proportions. Coordinates are whole numbers, so the output is
// the same on every machine: a test compares docs/ with it.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "layout/layout_catalogue.h"
#include "layout_view.h"

namespace {

using ORVANE::LayoutCatalogue;
using ORVANE::Rect;

constexpr int kBox = 256;           // the picture fits into kBox by kBox
constexpr int kMinWidth = 200;      // room for the caption under a narrow layout
constexpr int kCaptionHeight = 22;
const int kDocCounts[] = {1, 2, 4, 9, 16};

std::string participants(int n) { return std::to_string(n) + (n == 1 ? " participant" : " participants"); }

// The largest count for which every participant has a place; 0 for none.
int mostPlaced(const LayoutCatalogue& catalogue, int id) {
    int most = 0;
    for (int n = 1; n <= 64; ++n)
        if (orvlayout::placeParticipants(catalogue, Rect{0, 0, kBox, kBox}, id, n).unplaced == 0) most = n;
    return most;
}

// The SVG text, or empty when the layout has no grid for that count.
std::string drawLayout(const LayoutCatalogue& catalogue, int id, int count) {
    const ORVANE::LayoutCell* grid = catalogue.findCell(id, count, 0);
    if (grid == nullptr) return {};
    int width = 0, height = 0;
    catalogue.getLayoutSize({}, id, count, &width, &height);
    const Rect fitted = LayoutCatalogue::fitRect({0, 0, kBox, kBox}, width, height);
    const int w = fitted.right - fitted.left, h = fitted.bottom - fitted.top;
    const int canvas = std::max(w, kMinWidth);
    const Rect area{(canvas - w) / 2, 0, (canvas - w) / 2 + w, h};
    const orvlayout::Placement placement = orvlayout::placeParticipants(catalogue, area, id, count);

    std::ostringstream svg;
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << canvas << "\" height=\"" << h + kCaptionHeight
        << "\" viewBox=\"0 0 " << canvas << ' ' << h + kCaptionHeight << "\" font-family=\"sans-serif\">\n";
    svg << "<title>" << ORVANE::layoutModelName(id) << " (" << id << "), "
        << (count > 0 ? participants(count) : std::string("default grid")) << "</title>\n";
    svg << "<rect x=\"" << area.left << "\" y=\"0\" width=\"" << w << "\" height=\"" << h
        << "\" fill=\"#f4f4f4\" stroke=\"#888888\"/>\n";

    // The grid: the edges of its unit cells, as the library places them.
    std::string lines;
    for (int c = 1; c < grid->gridColumn; ++c) {
        const Rect unit = LayoutCatalogue::computeCellRect(area, grid->spacing, grid->margin, grid->gridRow,
                                                           grid->gridColumn, 0, 0, 0, 1, c, c + 1);
        lines += "M" + std::to_string(unit.left) + " 0V" + std::to_string(h);
    }
    for (int r = 1; r < grid->gridRow; ++r) {
        const Rect unit = LayoutCatalogue::computeCellRect(area, grid->spacing, grid->margin, grid->gridRow,
                                                           grid->gridColumn, 0, 0, r, r + 1, 0, 1);
        lines += "M" + std::to_string(area.left) + " " + std::to_string(unit.top) + "H" + std::to_string(area.right);
    }
    if (!lines.empty())
        svg << "<path d=\"" << lines << "\" stroke=\"#d4d4d4\" stroke-width=\"0.5\" fill=\"none\"/>\n";

    for (const orvlayout::PlacedCell& cell : placement.cells) {
        const Rect& r = cell.rect;
        const int cw = r.right - r.left, ch = r.bottom - r.top;
        const int font = std::clamp(std::min(cw, ch) / 2, 8, 28);
        svg << "<rect x=\"" << r.left + 1 << "\" y=\"" << r.top + 1 << "\" width=\"" << std::max(cw - 2, 1)
            << "\" height=\"" << std::max(ch - 2, 1) << "\" fill=\"#cfe3f7\" stroke=\"#1f5f99\"/>\n";
        svg << "<text x=\"" << r.left + cw / 2 << "\" y=\"" << r.top + ch / 2 + font * 35 / 100
            << "\" text-anchor=\"middle\" font-size=\"" << font << "\" fill=\"#1f3f66\">" << cell.index << "</text>\n";
    }

    std::string caption = (count > 0 ? participants(count) : std::string("default")) + ": grid " +
                          std::to_string(grid->gridRow) + "x" + std::to_string(grid->gridColumn);
    if (count > 0)
        caption += placement.unplaced == 0 ? ", all placed" : ", " + std::to_string(count - placement.unplaced) + " placed";
    svg << "<text x=\"" << canvas / 2 << "\" y=\"" << h + 15 << "\" text-anchor=\"middle\" font-size=\"12\">" << caption
        << "</text>\n";
    svg << "</svg>\n";
    return svg.str();
}

const char* const kIntro = R"(# Video layouts

The layout catalogue compiled into the library, drawn by `orvane-layout-svg`
(`tools/layout_svg.cpp`) for 1, 2, 4, 9 and 16 participants and for the
largest number of participants it gives every one a place. The pictures and
this page are generated: run `scripts/layout-pictures.sh` after a change of
the catalogue or the tool. The test `LayoutPictures.MatchTheTool` fails while
they differ from what the tool draws now.

Each picture keeps the layout's proportions (`getLayoutSize`), fitted into
256 by 256 (`fitRect`). The thin lines are the grid that answers for that
number of participants: the layout's grid for that count, or its default
grid when it has none. The blue rectangles are the cells that `getCellRect`
gives participants 0, 1, 2, ..., each with its index. A participant beyond
the cells has no place: `getCellRect` answers four zeros.

| Id | Model | Default grid | Proportions | Everybody placed up to |
|---:|---|---|---|---:|
)";

std::string fileName(int id, int count) {
    return std::string(ORVANE::layoutModelName(id)) + "-" + std::to_string(count) + ".svg";
}

bool writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    return static_cast<bool>(out);
}

int writeDocs(const LayoutCatalogue& catalogue, const std::filesystem::path& dir) {
    std::filesystem::create_directories(dir / "layouts");
    std::ostringstream md, sections;
    md << kIntro;
    for (const ORVANE::LayoutModel& model : ORVANE::layoutModels()) {
        const ORVANE::LayoutCell* grid = catalogue.findCell(model.id, 0, 0);
        if (grid == nullptr) {
            std::cerr << "layout " << model.id << " has no default grid\n";
            return 1;
        }
        const int most = mostPlaced(catalogue, model.id);
        std::string anchor = std::to_string(model.id) + "-" + model.name;
        std::transform(anchor.begin(), anchor.end(), anchor.begin(), [](unsigned char c) { return std::tolower(c); });
        md << "| " << model.id << " | [" << model.name << "](#" << anchor << ") | "
           << grid->gridRow << "x" << grid->gridColumn << " | " << grid->width << ":" << grid->height << " | " << most
           << " |\n";
        std::set<int> counts(std::begin(kDocCounts), std::end(kDocCounts));
        if (most > 0) counts.insert(most);
        sections << "\n## " << model.id << " " << model.name << "\n\n";
        for (int n : counts) {
            const std::string svg = drawLayout(catalogue, model.id, n);
            if (!writeFile(dir / "layouts" / fileName(model.id, n), svg)) {
                std::cerr << "cannot write " << (dir / "layouts" / fileName(model.id, n)).string() << "\n";
                return 1;
            }
            sections << "![" << model.name << ", " << participants(n) << "](layouts/" << fileName(model.id, n) << ")\n";
        }
    }
    md << sections.str();
    if (!writeFile(dir / "layouts.md", md.str())) {
        std::cerr << "cannot write " << (dir / "layouts.md").string() << "\n";
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const LayoutCatalogue catalogue;
    const std::string first = argc > 1 ? argv[1] : "";
    if (argc == 3 && first == "--docs") return writeDocs(catalogue, argv[2]);
    if (argc == 3 && first != "--docs") {
        const int id = std::atoi(argv[1]), count = std::atoi(argv[2]);
        const std::string svg = drawLayout(catalogue, id, count);
        if (svg.empty()) {
            std::cerr << "layout " << id << " is not in the catalogue\n";
            return 1;
        }
        std::cout << svg;
        return 0;
    }
    std::cerr << "usage: orvane-layout-svg ID COUNT      the SVG of layout ID for COUNT participants\n"
                 "       orvane-layout-svg --docs DIR   DIR/layouts.md and DIR/layouts/*.svg for every layout\n";
    return 2;
}
