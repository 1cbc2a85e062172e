// Pictures of hand-made worlds: an off-screen window, a camera, and what a pixel shows.
#pragma once

#include "base/vec3.h"
#include "gfx/gfx_opengl.h"
#include "gfx/gl/shaderprocs.h"
#include "gfx/platform/scripted.h"
#include "gfx/projection.h"
#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/mazegame.h"
#include "scene/scene.h"
#include "scene/view.h"
#include "text/nodefont.h"

#include <GL/gl.h>

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

/// Texts that were given to shaders, joined, by shader name; each with its stage.
struct ShaderText {
    GLenum kind;
    std::string text;
    std::vector<std::string> pieces;
};
inline std::map<GLuint, ShaderText> shader_texts;
inline std::vector<GLuint> made_programs;

inline PFNGLSHADERSOURCEPROC next_shadersource;
inline PFNGLCREATESHADERPROC next_createshader;
inline PFNGLCREATEPROGRAMPROC next_createprogram;

inline GLuint record_createshader(GLenum kind)
{
    const GLuint name = next_createshader(kind);
    shader_texts[name].kind = kind;
    return name;
}

inline void record_shadersource(GLuint shader, GLsizei n, const GLchar* const* texts,
                                const GLint* lengths)
{
    for (GLsizei i = 0; i < n; i++) {
        shader_texts[shader].text += texts[i];
        shader_texts[shader].pieces.emplace_back(texts[i]);
    }
    next_shadersource(shader, n, texts, lengths);
}

inline GLuint record_createprogram()
{
    made_programs.push_back(next_createprogram());
    return made_programs.back();
}

/// The fonts, as the program loads them.
inline void picture_fonts()
{
    const NodeFontParams params = {0.125F, 0.25F, 1.0F, 0.625F};
    NodeFontCharSet_load(nodefont_data, NODEFONT_LENGTH, "fmod", &params, 32, 3);
    Font_make("fmod:scale=30%", "normal");
    Font_select("normal");
}

/// Opens the window of the test program, once, with the program's fonts, and notes what becomes of shaders.
inline void picture_open()
{
    if (gfx_alive) {
        return;
    }
    platform = &platform_scripted;
    scripted_reset();
    gfx_ortho_mode = 0;
    windowed = true;
    gfx_open(640, 480, "test");
    view_install();
    shaders_load();
    picture_fonts();
    next_createshader = gl_entry_points.CreateShader;
    next_shadersource = gl_entry_points.ShaderSource;
    next_createprogram = gl_entry_points.CreateProgram;
    gl_entry_points.CreateShader = record_createshader;
    gl_entry_points.ShaderSource = record_shadersource;
    gl_entry_points.CreateProgram = record_createprogram;
}

struct Rgb {
    f64 r, g, b; // 0 to 1
};

/// Rows from the bottom, as OpenGL numbers them.
struct Picture {
    i32 width, height;
    std::vector<u8> bytes;

    Rgb at(i32 x, i32 y) const
    {
        const size_t i = (static_cast<size_t>(y) * width + x) * 3;
        return {bytes[i] / 255.0, bytes[i + 1] / 255.0, bytes[i + 2] / 255.0};
    }
    bool black(i32 x, i32 y) const
    {
        const Rgb c = at(x, y);
        return c.r == 0 && c.g == 0 && c.b == 0;
    }
    i32 painted() const
    {
        i32 n = 0;
        for (i32 i = 0; i < width * height; i++) {
            n += black(i % width, i / width) ? 0 : 1;
        }
        return n;
    }
};

inline Picture picture_take()
{
    Picture picture = {gfx_width, gfx_height, {}};
    picture.bytes.resize(static_cast<size_t>(gfx_width) * gfx_height * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, gfx_width, gfx_height, GL_RGB, GL_UNSIGNED_BYTE, picture.bytes.data());
    return picture;
}

inline void picture_clear()
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

/// Loads the view of a game and clears.
inline void picture_begin(MazeGame* game)
{
    glLoadIdentity();
    MazeGame_applyview(game);
    picture_clear();
}

/// The picture of a game by the program's own way.
inline Picture picture_draw(MazeGame* game)
{
    picture_begin(game);
    scene_draw(game);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    return picture_take();
}

/// Where a point is seen, in pixels from the lower left corner; the game's view must be captured.
struct Place {
    f64 x, y;
};
inline Place picture_place(const MazeGame* game, const f64 p[3])
{
    const ViewRec* view = &game->view;
    const f64* m = view->modelview;
    const f64 ex = m[0] * p[0] + m[4] * p[1] + m[8] * p[2] + m[12];
    const f64 ey = m[1] * p[0] + m[5] * p[1] + m[9] * p[2] + m[13];
    const f64 ez = m[2] * p[0] + m[6] * p[1] + m[10] * p[2] + m[14];
    return {(ex / -ez / view->tanx + 1) * 0.5 * gfx_width,
            (ey / -ez / view->tany + 1) * 0.5 * gfx_height};
}

inline i32 add_node(Maze* maze, f64 x, f64 y, f64 z, f64 radius, u32 colour = COLOUR_DEFAULT)
{
    MazeNode node = MazeNode_fresh(x, y, z, radius);
    node.rec.colour = colour;
    return Maze_addnode(maze, &node);
}

/// Hangs an empty maze on a node.
inline Maze* add_sub(Maze* maze, i32 node)
{
    Maze* const sub = Maze_new();
    sub->parent = maze;
    sub->parentnode = node;
    Maze_node(maze, node)->sub = sub;
    return sub;
}

/// Says that a world made by hand is finished: bounds, and draw spheres from scratch.
inline void finish_world(Maze* root)
{
    Maze_bounds(root, true);
    Maze_drawsphere_stale(root, true);
    Maze_freeflags(root, ATT_GEOMETRY, true);
}

/// A world whose node 0 is the player's and stands behind the camera, which looks from the origin
/// along -z with x to the right.
struct World {
    MazeGame game = {};
    Maze* root = nullptr;

    World()
    {
        MazeGame_setup(&game);
        root = Maze_new();
        game.root = root;
        game.pos = {root, 0};
        add_node(root, 0, 0, 40, 0.5);
    }
    ~World()
    {
        MazeGame_free(&game);
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    i32 node(f64 x, f64 y, f64 z, f64 radius, u32 colour = COLOUR_DEFAULT)
    {
        return add_node(root, x, y, z, radius, colour);
    }
    Picture draw()
    {
        finish_world(root);
        return picture_draw(&game);
    }
};

/// Turns the game's camera to look from `eye` at `target`; z is up where that says anything.
inline void look_at(MazeGame* game, const f64 eye[3], const f64 target[3])
{
    f64 back[3];
    f64 right[3];
    f64 up[3];
    vec3_sub(back, eye, target);
    vec3_unit(back, back);
    const f64 tall[3] = {std::fabs(back[2]) > 0.99 ? 1.0 : 0.0, 0.0,
                         std::fabs(back[2]) > 0.99 ? 0.0 : 1.0};
    for (i32 i = 0; i < 3; i++) {
        right[i] = tall[(i + 1) % 3] * back[(i + 2) % 3] - tall[(i + 2) % 3] * back[(i + 1) % 3];
    }
    vec3_unit(right, right);
    for (i32 i = 0; i < 3; i++) {
        up[i] = back[(i + 1) % 3] * right[(i + 2) % 3] - back[(i + 2) % 3] * right[(i + 1) % 3];
    }
    for (i32 i = 0; i < 3; i++) {
        game->orient[i] = right[i];
        game->orient[3 + i] = up[i];
        game->orient[6 + i] = back[i];
        game->campos[i] = eye[i];
    }
}
