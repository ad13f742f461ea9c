#pragma once

#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <optional>

namespace zelvo::service {

/// A picture of the main display, or of a part of it.
struct ScreenPicture {
    McpContent content;
    ScreenSpace space;
    DisplaySize pixels;
    bool isPart = false; ///< agents that cannot show a part show the whole
};

/// Takes a picture within the limits of edges, area and bytes.
/// region   in points; the whole display without it
/// Throws   Failure; ToolFailure if no picture is small enough
Task<ScreenPicture> takePicture(MachineCallPtr call, std::optional<SeenFrame> region);

} // namespace zelvo::service
