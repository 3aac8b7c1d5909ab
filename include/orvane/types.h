#pragma once

#include <cstdint>
#include <map>
#include <string>

/// @file
/// The plain records of layouts and engine users.

/// Every public name of the library, but those of the meeting-control logic
/// (OrvaneLogic_Interface, OrvaneLogic_Factory, LTYPE).
namespace ORVANE {

/// A rectangle in the caller's units; right and bottom are exclusive, so the
/// width is right - left.
struct Rect {
    int32_t left = 0;    ///< The left edge.
    int32_t top = 0;     ///< The top edge.
    int32_t right = 0;   ///< One past the right edge.
    int32_t bottom = 0;  ///< One past the bottom edge.
};

/// @param a A rectangle.
/// @param b Another.
/// @return Whether all four edges are equal.
inline bool operator==(const Rect& a, const Rect& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}
/// @param a A rectangle.
/// @param b Another.
/// @return Whether any edge differs.
inline bool operator!=(const Rect& a, const Rect& b) { return !(a == b); }

/// One video cell as the application describes it, for
/// ConfSDK::ConfControlService::setLayout(): participants are named by their
/// device id in the conference manager.
struct LayoutItem {
    int32_t id = 0;           ///< Platform "QC" only: its low byte is the engine's user id.
    std::string deviceId;     ///< The participant's device.
    std::string displayName;  ///< The participant's name (platform "QC" only).
    int type = 0;             ///< 1: a cell without a participant of its own ("QV").
    Rect rc;                  ///< Where the cell goes.
    bool isShow = false;      ///< Whether the cell is shown.
};

/// One video cell as the media engine gets it: participants are named by the
/// engine's own user id.
struct AvLayoutItem {
    std::string userid;       ///< The engine's user id; empty for nobody.
    std::string deviceId;     ///< The device (platform "QC" only).
    std::string displayName;  ///< The name (platform "QC" only).
    int type = 0;             ///< As LayoutItem::type.
    Rect rc;                  ///< Where the cell goes.
    bool isShow = false;      ///< Whether the cell is shown.
};

/// One participant as the media engine sees them.
struct AvUserInfo {
    bool audioMuted = false;  ///< Microphone muted.
    bool videoMuted = false;  ///< Video stopped.
    bool isHost = false;      ///< Host of the media meeting.
    bool isCohost = false;    ///< Co-host of the media meeting.
    std::string name;         ///< The name the others see.
};

/// The engine's user id (decimal text) to what the engine knows of that user.
using AvUserMap = std::map<std::string, AvUserInfo>;

}  // namespace ORVANE
