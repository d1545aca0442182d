#pragma once

#include <cstdint>
#include <string>

namespace talvero::scene3d {

// "[creator-gl] <row>: <text>", once per row and id: a script that repeats a mistake every
// frame does not flood the log.
void reportOnce(const std::string& row, int64_t id, const std::string& text);
// Forgets what was reported (a new engine starts afresh).
void resetReports();

// The entity is alive with a transform; else one line "<row>: unknown entity <id>".
bool checkTransform(const char* row, uint32_t entity);
// The scene id names a scene; else one line "<row>: unknown scene <id>".
bool checkScene(const char* row, int64_t scene);

}  // namespace talvero::scene3d
