#include "scene/ballstick.h"

#include "base/vec3.h"
#include "gfx/gl/shaderprocs.h"
#include "model/mazegame.h"
#include "scene/colours.h"
#include "scene/exits.h"
#include "scene/impostors.h"
#include "scene/lighting.h"
#include "scene/lists.h"
#include "scene/view.h"

#include <cmath>
#include <cstdlib>

extern const char glsl_agecolour[];
extern const char glsl_disc_vs[];
extern const char glsl_disc_fs[];
extern const char glsl_band_vs[];
extern const char glsl_band_fs[];

static GLuint sticksprogram; // 0 until first use of sphere_sticks
static GLuint ballsprogram;  // 0 until first use of sphere_balls

// The texts of each program, stage by stage.
static const char* const stickvertex[] = {glsl_agecolour, glsl_band_vs};
static const char* const stickfragment[] = {glsl_band_fs};
static const char* const ballvertex[] = {glsl_agecolour, glsl_disc_vs};
static const char* const ballfragment[] = {glsl_disc_fs};

static f32 clockof(const MazeGame* game)
{
    return static_cast<f32>(clock_held(game->time));
}

static void begin(GLuint program, const MazeGame* game)
{
    program_use(program);
    projection_set(program);
    f64 eye[3];
    MazeGame_eye(eye, game);
    uniform_vec3(program, "o", eye);
    uniform_f32(program, "t", clockof(game));
    uniform_i32(program, "showtrail", game->showtrail);
}

// A quad by a call a vertex. One call with an array of vertices compiles to the same list, but
// takes the driver longer (bench_frame measures both).
static void emitdisc(const f32 colour[4], const f64 centre[3], f64 radius)
{
    glColor4fv(colour); // alpha is a time; floats reach the vertex stage unclamped
    glTexCoord4f(static_cast<f32>(centre[0]), static_cast<f32>(centre[1]),
                 static_cast<f32>(centre[2]), static_cast<f32>(radius));
    glVertex2f(-1, -1);
    glVertex2f(-1, 1);
    glVertex2f(1, 1);
    glVertex2f(1, -1);
}

// A corner of a ribbon; its code tells the end (2 or 3: this node) and the side (odd or even).
static void emitbandcorner(const MazeNode* end, f32 code)
{
    glVertex4f(static_cast<f32>(end->pos[0]), static_cast<f32>(end->pos[1]),
               static_cast<f32>(end->pos[2]), code);
}

static void emitband(const MazeNode* node, const MazeNode* target, u32 colour, f64 walked)
{
    f32 channels[3];
    colour_channels(colour, channels);
    glColor3fv(channels);
    glNormal3f(static_cast<f32>(node->pos[0] - target->pos[0]),
               static_cast<f32>(node->pos[1] - target->pos[1]),
               static_cast<f32>(node->pos[2] - target->pos[2]));
    const f32 time = static_cast<f32>(walked);
    glTexCoord2f(time, static_cast<f32>(target->radius));
    emitbandcorner(target, 0);
    glTexCoord2f(time, static_cast<f32>(node->radius));
    emitbandcorner(node, 2);
    emitbandcorner(node, 3);
    glTexCoord2f(time, static_cast<f32>(target->radius));
    emitbandcorner(target, 1);
}

static bool coloursexits(const MazeGame* game)
{
    return game == nullptr || game->showexits != 0;
}

void sphere_sticklist(Maze* maze, const MazeGame* game, bool alledges)
{
    const bool byexits = coloursexits(game);
    glBegin(GL_QUADS);
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        if (node->sub != nullptr) {
            continue;
        }
        Pos exits[POS_MAXEDGES];
        VisitRec recs[POS_MAXEDGES];
        for (i32 i = exits_list({maze, n}, alledges, exits, recs) - 1; i >= 0; i--) {
            if (!exits_drawn(maze, exits[i].maze)) {
                continue;
            }
            const bool byexit = byexits && exits[i].maze == maze;
            const u32 colour = byexit ? exit_colour(maze, recs[i].colour) : recs[i].colour;
            emitband(node, Pos_node(exits[i]), colour, recs[i].walked);
        }
    }
    glEnd();
}

void sphere_balllist(Maze* maze, const MazeGame* game)
{
    const bool byexits = coloursexits(game);
    glBegin(GL_QUADS);
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        if (node->sub != nullptr) {
            continue;
        }
        f32 colour[4];
        colour_channels(byexits ? exit_colour(maze, node->rec.colour) : node->rec.colour, colour);
        colour[3] = static_cast<f32>(node->rec.walked);
        emitdisc(colour, node->pos, node->radius);
    }
    glEnd();
}

static ListPair* buildlists(Maze* maze, const MazeGame* game, bool alledges)
{
    ListPair* const lists = static_cast<ListPair*>(std::malloc(sizeof(ListPair)));
    lists->sticks = glGenLists(1);
    glNewList(lists->sticks, GL_COMPILE);
    sphere_sticklist(maze, game, alledges);
    glEndList();
    lists->balls = glGenLists(1);
    glNewList(lists->balls, GL_COMPILE);
    sphere_balllist(maze, game);
    glEndList();
    Maze_attach(maze, "lists", lists, ListPair_delete, ATT_GEOMETRY | ATT_EXITS | ATT_VISITS);
    return lists;
}

void sphere_lists(Maze* maze, MazeGame* game, SphereList which, bool recursive)
{
    if (Maze_outofview(maze, &game->view)) {
        return;
    }
    const ListPair* lists = static_cast<ListPair*>(Maze_attachment(maze, "lists"));
    if (lists == nullptr) {
        lists = buildlists(maze, game, recursive);
    }
    glCallList(which == SPHERE_STICKS ? lists->sticks : lists->balls);
    if (!recursive) {
        return;
    }
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            sphere_lists(sub, game, which, true);
        }
    }
}

void sphere_sticks(Maze* root, MazeGame* game, bool recursive)
{
    if (sticksprogram == 0) {
        sticksprogram = program_make_lists(stickvertex, 2, stickfragment, 1);
    }
    begin(sticksprogram, game);
    sphere_lists(root, game, SPHERE_STICKS, recursive);
    program_use(0);
}

static void drawcursor(const MazeGame* game)
{
    f64 centre[3];
    f64 radius;
    MazeGame_viewpos_radius(centre, game, &radius);
    const f32 white[4] = {1, 1, 1, clockof(game)};
    glBegin(GL_QUADS);
    emitdisc(white, centre, radius);
    glEnd();
}

void sphere_balls(Maze* root, MazeGame* game, bool recursive)
{
    if (ballsprogram == 0) {
        ballsprogram = program_make_lists(ballvertex, 2, ballfragment, 1);
    }
    begin(ballsprogram, game);
    sphere_lists(root, game, SPHERE_BALLS, recursive);
    drawcursor(game);
    program_use(0);
}

void ballstick_balllist(Maze* maze)
{
    impostors_begin();
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        if (node->sub == nullptr) {
            const u32 colour = exit_colour(maze, node->rec.colour);
            impostor_sphere(colour_drawn(colour), node->pos, node->radius);
        }
    }
    impostors_end();
}

// The colour of a cylinder along an exit of `maze`.
static u32 stickcolour(const Maze* maze, Pos exit, u32 colour)
{
    return colour_drawn(exit.maze == maze ? exit_colour(maze, colour) : colour);
}

// Whether the stick to `exit` is painted again, on the same place and in the same colour, when the node
// at its other end comes, which is lower and so comes later.
static bool paintedlater(const Maze* maze, i32 n, Pos exit, u32 shown)
{
    if (exit.maze != maze || exit.node >= n) {
        return false;
    }
    const MazeNode* const target = Pos_node(exit);
    for (i32 i = static_cast<i32>(target->nedges) - 1; i >= 0; i--) {
        if (target->edges[i] == n) {
            return target->sub == nullptr &&
                   stickcolour(maze, exit, target->edgerec[i].colour) == shown;
        }
    }
    return false;
}

static void emitstick(Maze* maze, i32 n, Pos exit, u32 colour)
{
    const MazeNode* const node = Maze_node(maze, n);
    const MazeNode* const target = Pos_node(exit);
    f64 axis[3];
    vec3_sub(axis, target->pos, node->pos);
    const f64 radius = std::fmin(node->radius, target->radius);
    const u32 shown = stickcolour(maze, exit, colour);
    if (paintedlater(maze, n, exit, shown)) {
        impostor_cylinder_twin(shown, node->pos, axis, radius);
    } else {
        impostor_cylinder(shown, node->pos, axis, radius);
    }
}

void ballstick_sticklist(Maze* maze)
{
    impostors_begin();
    for (i32 n = Maze_count(maze) - 1; n >= 0; n--) {
        const MazeNode* const node = Maze_node(maze, n);
        if (node->sub != nullptr) {
            continue;
        }
        Pos exits[POS_MAXEDGES];
        VisitRec recs[POS_MAXEDGES];
        for (i32 i = Pos_alledges({maze, n}, exits, recs) - 1; i >= 0; i--) {
            if (exits_drawn(maze, exits[i].maze)) {
                emitstick(maze, n, exits[i], recs[i].colour);
            }
        }
    }
    impostors_end();
}

void ballstick_plot(Maze* root, const MazeGame* game, bool lit, const LightRec* light)
{
    f64 cursor[3];
    f64 radius;
    MazeGame_viewpos_radius(cursor, game, &radius);
    lit_begin(sphere_program(), cursor, lit, light);
    Maze_calllist(root, "ballstick_ballslist", ballstick_balllist, true, &game->view);
    if (lit) {
        program_use(sphere_program_unlit());
        projection_set(sphere_program_unlit());
    }
    impostors_begin();
    impostor_sphere(0xFFFFFF, cursor, 1.5 * radius);
    impostors_end();
    lit_begin(cylinder_program(), cursor, lit, light);
    Maze_calllist(root, "ballstick_stickslist", ballstick_sticklist, true, &game->view);
    program_use(0);
}
