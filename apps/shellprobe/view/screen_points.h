#pragma once

// Where things stand on the screen, for those who drive the window with a mouse.

#include <string>
#include <vector>

#include "common/system/json/json_line.h"
#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

inline POINT Centre(const RECT& area) noexcept {
    return {(area.left + area.right) / 2, (area.top + area.bottom) / 2};
}

/// PointsJson gives [[x,y],…].
inline std::string PointsJson(const std::vector<POINT>& points) {
    CJsonArray json;
    for (const POINT& point : points)
        json.AddRaw("[" + std::to_string(point.x) + "," + std::to_string(point.y) + "]");
    return json.Text();
}

}  // namespace tarnwell::shellprobe
