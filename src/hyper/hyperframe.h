// The frame window around a hypertext control: its class, its size, and what it does with its messages.
#pragma once

#include <cstdint>

#include "windows/windowsystem.h"

namespace karst {

inline constexpr char kFrameClassName[] = "KARSTHYPERFRAMECLASS";

WindowClass FrameClass();

// Creates a frame with its control. Null if there is no class for it.
HWND CreateFrame(WindowSystem& system);

// A frame's size from the one that a script gives: above 0 it is the inside's, below 0 the frame's own, negated.
int FrameWidth(WindowSystem& system, int32_t given);
int FrameHeight(WindowSystem& system, int32_t given);

}  // namespace karst
