// What a routine emits, caught before it reaches OpenGL.
#pragma once

#include "tests/fakes/gl_count.h"

#include <gtest/gtest.h>
#include <vector>

/// The vertices that a routine gives to OpenGL, which doesn't get them.
template <typename Routine> std::vector<GlVertex> emitted(Routine routine)
{
    gl_count.forward = false;
    gl_count.record = true;
    gl_count.vertices.clear();
    routine();
    gl_count.forward = true;
    gl_count.record = false;
    EXPECT_EQ(gl_count.openbatches, 0);
    return gl_count.vertices;
}

/// The place of a vertex, within single precision.
inline void expect_place(const GlVertex& vertex, f64 x, f64 y, f64 z, f64 tolerance = 1e-5)
{
    EXPECT_NEAR(static_cast<f64>(vertex.pos[0]), x, tolerance);
    EXPECT_NEAR(static_cast<f64>(vertex.pos[1]), y, tolerance);
    EXPECT_NEAR(static_cast<f64>(vertex.pos[2]), z, tolerance);
}

/// The colour of a vertex as 0xRRGGBB.
inline u32 colour_of(const GlVertex& vertex)
{
    u32 colour = 0;
    for (i32 i = 0; i < 3; i++) {
        colour = colour << 8 | static_cast<u32>(vertex.colour[i] * 255.0F + 0.5F);
    }
    return colour;
}
