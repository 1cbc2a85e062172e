// Writing of a whole file through the module, in one call.
#pragma once

#include "base/wholefile.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

/// Writes `text` at `path` in pieces; what is told, or "". Expects that it succeeds if nothing is told, or
/// in any case if the end is `doubtful`.
inline std::string replace(const std::string& path, const std::string& text, size_t piece = 1000,
                           bool doubtful = false)
{
    WholeFile file;
    wholefile_begin(&file, path.c_str());
    for (size_t at = 0; at < text.size(); at += piece) {
        wholefile_put(&file, text.data() + at, std::min(piece, text.size() - at));
    }
    const bool done = wholefile_end(&file);
    EXPECT_EQ(done, doubtful || std::string(file.why).empty()) << file.why;
    EXPECT_EQ(file.buf, nullptr);
    return file.why;
}
