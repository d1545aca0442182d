#pragma once

// The device behind the graphics layer, shared by its own files only.

#include <epoxy/gl.h>

#include <string_view>

#include "platform/gpu/gfx.h"

namespace talvero::gpu {

// Makes the device if need be and its context current; false without a device.
bool makeDeviceCurrent();
// Makes the context current when the device is there already; never makes the device, since
// a call on a handle has nothing to act on without one.
bool makeExistingDeviceCurrent();

// Names a GL object for debuggers when the driver takes labels; `suffix` is appended.
void labelObject(GLenum kind, GLuint name, const char* label, std::string_view suffix = {});

// One line of the layer's own on the standard output, flushed.
void printLine(std::string_view line);

Counters& mutableCounters();

}  // namespace talvero::gpu
