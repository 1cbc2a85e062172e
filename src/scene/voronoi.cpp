#include "scene/voronoi.h"

#include "base/vec3.h"
#include "gfx/gfx_opengl.h"
#include "gfx/projection.h"
#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/mazegame.h"
#include "scene/lists.h"
#include "scene/scene.h"
#include "scene/view.h"
#include "scene/voronoistyles.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

enum { MOST_DISC_SIDES = 512 }; // more can't be told apart

static const f64 cursor_lift = 0.3; // how far the cursor hangs toward the viewer
static const f64 cursor_radius = 0.12;

void lights_fixed()
{
    static const f32 diffuse[4] = {0.8F, 0.8F, 0.8F, 1.0F};
    static const f32 position[4] = {0.5F, 0.6F, 0.7F, 0.0F}; // a direction
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, diffuse);
    glLightfv(GL_LIGHT0, GL_POSITION, position);
    glEnable(GL_COLOR_MATERIAL);
}

// The cursor

// Whether a disc of this size in pixels about a point of the world is off the window. Counted from the
// corner of the viewport: of two screens the second has its own at the far end of the first.
static bool offwindow(const f64 p[3], f64 size)
{
    f64 modelview[16];
    f64 projection[16];
    i32 viewport[4];
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetIntegerv(GL_VIEWPORT, viewport);
    viewport[0] = 0;
    viewport[1] = 0;
    f64 x = 0;
    f64 y = 0;
    gfx_project(p[0], p[1], p[2], &x, &y, nullptr, modelview, projection, viewport);
    return x + size < 0 || x - size > gfx_width || y + size < 0 || y - size > gfx_height;
}

void disc_draw(const f64 p[3], f64 r, u32 colour, const f64 eye[3])
{
    f64 away[3];
    vec3_sub(away, p, eye);
    const f64 distance = vec3_length(away);
    const i32 quarter = gfx_height / 4; // whole pixels
    const f64 size = r / distance * quarter;
    if (!std::isfinite(size) || offwindow(p, size)) {
        return;
    }
    const i32 n = static_cast<i32>(std::min(std::sqrt(size) * 5, f64{MOST_DISC_SIDES}));
    if (n <= 0) {
        return;
    }
    f64 u[3];
    f64 v[3];
    vec3_frame(away, u, v);
    glColor3ub(static_cast<u8>(colour >> 16), static_cast<u8>(colour >> 8),
               static_cast<u8>(colour));
    glBegin(GL_TRIANGLE_FAN);
    glVertex3dv(p);
    for (i32 i = 0; i <= n; i++) { // round to where it began
        const f64 angle = i * 6.283185307179586 / n;
        const f64 c = r * std::cos(angle);
        const f64 s = r * std::sin(angle);
        glVertex3d(p[0] + c * v[0] + s * u[0], p[1] + c * v[1] + s * u[1],
                   p[2] + c * v[2] + s * u[2]);
    }
    glEnd();
}

static void drawcursor(const MazeGame* game)
{
    f64 p[3];
    f64 toward[3];
    MazeGame_viewpos(p, game);
    vec3_sub(toward, game->campos, p);
    vec3_unit(toward, toward);
    for (i32 i = 2; i >= 0; i--) {
        p[i] += cursor_lift * toward[i];
    }
    disc_draw(p, cursor_radius, 0xFFFFFF, game->campos);
}

// The sphere about all that is drawn of cells, which reach far beyond the nodes

static void widen(VoronoiCells* cells, const f64 p[3], f64 radius)
{
    f64 way[3];
    vec3_sub(way, p, cells->centre);
    cells->radius = std::max(cells->radius, vec3_length(way) + radius);
}

static void measure(const VoronoiLevel* level, VoronoiCells* cells)
{
    Maze_drawsphere(level->maze, cells->centre, &cells->radius);
    for (i32 i = cells->count - 1; i >= 0; i--) {
        const f64 longest = voronoi_longest(level, i); // walls and skirts are no taller
        for (i32 k = static_cast<i32>(cells->cell[i].count) - 1; k >= 0; k--) {
            const VoronoiVertex* const corner = items<VoronoiVertex>(cells->cell + i) + k;
            const f64 p[3] = {corner->x, corner->y, Maze_node(level->maze, i)->pos[2]};
            widen(cells, p, longest);
        }
    }
    // what is drawn below a level is drawn only if the level is
    for (const Maze* above = level->maze->parent; above != nullptr; above = above->parent) {
        VoronoiCells* const more = static_cast<VoronoiCells*>(Maze_attachment(above, "voronoi"));
        if (more != nullptr) {
            widen(more, cells->centre, cells->radius);
        }
    }
}

static bool outofview(Maze* maze, const ViewRec* view)
{
    if (!Maze_outofview(maze, view)) {
        return false;
    }
    const VoronoiCells* const cells = static_cast<VoronoiCells*>(Maze_attachment(maze, "voronoi"));
    return cells == nullptr || view_sphereout(view, cells->centre, cells->radius);
}

// The lists

static void emit(const VoronoiLevel* level)
{
    if (voronoi_mode >= 2) {
        lights_fixed();
    }
    switch (voronoi_mode) {
    case 0: voronoi_outline(level); break;
    case 1: voronoi_terraces(level, false); break;
    case 2: voronoi_terraces(level, true); break;
    case 3: voronoi_relief(level); break;
    case 4: voronoi_delaunay(level); break;
    default: voronoi_walls(level); break;
    }
    if (voronoi_mode >= 2) {
        glDisable(GL_LIGHTING);
    }
}

static const VoronoiCells* findcells(Maze* maze, const MazeGame* game)
{
    VoronoiCells* cells = static_cast<VoronoiCells*>(Maze_attachment(maze, "voronoi"));
    if (cells == nullptr) {
        voronoi_build(maze, true);
        cells = static_cast<VoronoiCells*>(Maze_attachment(maze, "voronoi"));
        const VoronoiLevel level = {.maze = maze, .cells = cells, .game = game};
        measure(&level, cells);
    }
    return cells;
}

static void calllist(Maze* maze, const MazeGame* game)
{
    const VoronoiLevel level = {.maze = maze, .cells = findcells(maze, game), .game = game};
    void* data = Maze_attachment(maze, "voronoilist");
    if (data == nullptr) {
        const GLuint list = glGenLists(1);
        glNewList(list, GL_COMPILE);
        emit(&level);
        glEndList();
        data = list_data(list);
        Maze_attach(maze, "voronoilist", data, List_delete, 0);
    }
    glCallList(list_name(data));
}

void voronoi_plot(Maze* maze, MazeGame* game)
{
    if (outofview(maze, &game->view)) {
        return;
    }
    calllist(maze, game);
    if (maze == game->pos.maze) {
        drawcursor(game);
    }
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            voronoi_plot(sub, game);
        }
    }
}
