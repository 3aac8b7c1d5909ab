#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace ORVANE {

// A rectangle in the caller's units; right and bottom are exclusive, so the
// width is right - left.
struct Rect {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;
};

inline bool operator==(const Rect& a, const Rect& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}
inline bool operator!=(const Rect& a, const Rect& b) { return !(a == b); }

// One video cell as the application describes it: participants are named by
// their device id in the conference manager.
struct LayoutItem {
    int32_t id = 0;           // platform "QC" only
    std::string deviceId;
    std::string displayName;
    int type = 0;             // 1: a cell without a participant of its own ("QV")
    Rect rc;
    bool isShow = false;
};

// One video cell as the media engine gets it: participants are named by the
// engine's own user id.
struct AvLayoutItem {
    std::string userid;
    std::string deviceId;
    std::string displayName;
    int type = 0;
    Rect rc;
    bool isShow = false;
};

// One participant as the media engine sees them.
struct AvUserInfo {
    bool audioMuted = false;
    bool videoMuted = false;
    bool isHost = false;
    bool isCohost = false;
    std::string name;
};

// The engine's user id (decimal text) to what the engine knows of that user.
using AvUserMap = std::map<std::string, AvUserInfo>;

}  // namespace ORVANE
