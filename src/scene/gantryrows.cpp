#include "scene/gantryrows.h"

#include "gfx/gfx_opengl.h"
#include "model/attachment.h"
#include "scene/gantrystretch.h"
#include "scene/impostors.h"

#include <GL/gl.h>

#include <cstdlib>

f64 gantry_longway = 160.0;

static const i32 leastlisted = 64; // bars or balls, as many as a list is worth

// What comes next: a list, or the stretches before `end`, from where those of the run before ended.
struct Run {
    u32 list; // owned; 0: stretches
    u32 end;
};

struct Rows {
    GrowArray stretches; // of GantryStretch
    GrowArray runs;      // of Run
};

// What is being built: the stretches at the end, from `shortfrom` on, are short ones.
struct Builder {
    Rows* rows;
    GantryPart which;
    bool lists; // of short ways are made
    u32 shortfrom;
    i32 shortparts;
};

bool gantry_haslongway(Maze* maze)
{
    return gantry_extent(maze)->longest >= gantry_longway;
}

// -------- parts

void gantry_emitbar(const GantryBar* bar, void* once)
{
    if (once != nullptr) {
        ListOnce_part(static_cast<ListOnce*>(once), GL_QUADS);
    }
    impostor_cylinder(bar->colour, bar->start, bar->axis, bar->radius);
}

void gantry_emitball(const GantryBall* ball, void* once)
{
    if (once != nullptr) {
        ListOnce_part(static_cast<ListOnce*>(once), GL_QUADS);
    }
    impostor_sphere(ball->colour, ball->centre, ball->radius);
}

// With null for sight and list the whole stretch goes into the batch that is open.
static void drawstretch(const GantryStretch* stretch, GantryPart which, const Sight* sight,
                        ListOnce* once)
{
    if (which == GANTRY_BARS) {
        gantry_stretchbars(stretch, sight, gantry_emitbar, once);
    } else {
        gantry_stretchballs(stretch, sight, gantry_emitball, once);
    }
}

// -------- building

static void pushrun(Rows* rows, u32 list)
{
    const Run run = {.list = list, .end = rows->stretches.count};
    GrowArray_push(&rows->runs, &run);
}

// Puts a list in the place of the short stretches at the end if they are many.
static void listshort(Builder* builder)
{
    Rows* const rows = builder->rows;
    if (builder->lists && builder->shortparts >= leastlisted) {
        const u32 list = glGenLists(1);
        glNewList(list, GL_COMPILE);
        impostors_begin();
        for (u32 i = builder->shortfrom; i < rows->stretches.count; i++) {
            drawstretch(items<GantryStretch>(&rows->stretches) + i, builder->which, nullptr,
                        nullptr);
        }
        impostors_end();
        glEndList();
        rows->stretches.count = builder->shortfrom;
        pushrun(rows, 0);
        pushrun(rows, list);
    }
    builder->shortparts = 0;
}

static void addstretch(const GantryStretch* stretch, void* to)
{
    Builder* const builder = static_cast<Builder*>(to);
    GrowArray* const stretches = &builder->rows->stretches;
    if (stretch->length < gantry_longway) {
        if (builder->shortparts == 0) {
            builder->shortfrom = stretches->count;
        }
        builder->shortparts += gantry_stretchcount(stretch);
        GrowArray_push(stretches, stretch);
        return;
    }
    listshort(builder);
    GrowArray_push(stretches, stretch);
}

static void freerows(void* data, Maze* /*maze*/)
{
    Rows* const rows = static_cast<Rows*>(data);
    for (i32 i = static_cast<i32>(rows->runs.count) - 1; i >= 0 && gfx_alive; i--) {
        const u32 list = items<Run>(&rows->runs)[i].list;
        if (list != 0) {
            glDeleteLists(list, 1);
        }
    }
    GrowArray_free(&rows->stretches);
    GrowArray_free(&rows->runs);
    std::free(rows);
}

static Rows* buildrows(Maze* maze, GantryPart which, const char* name)
{
    Rows* const rows = static_cast<Rows*>(std::malloc(sizeof(Rows)));
    GrowArray_init(&rows->stretches, sizeof(GantryStretch));
    GrowArray_init(&rows->runs, sizeof(Run));
    Builder builder = {.rows = rows,
                       .which = which,
                       .lists = gantry_haslongway(maze),
                       .shortfrom = 0,
                       .shortparts = 0};
    const GantryFilter whole = {}; // keeps no table of exits
    gantry_eachstretch(maze, &whole, which == GANTRY_BALLS, addstretch, &builder);
    listshort(&builder);
    pushrun(rows, 0);
    Maze_attach(maze, name, rows, freerows, ATT_GEOMETRY | ATT_EXITS);
    return rows;
}

// -------- drawing

void gantry_rows(Maze* maze, GantryPart which, const Sight* sight, ListOnce* once)
{
    const char* const name = which == GANTRY_BARS ? "gantryrows_railings" : "gantryrows_railballs";
    const Rows* rows = static_cast<Rows*>(Maze_attachment(maze, name));
    if (rows == nullptr) {
        ListOnce_draw(once); // lists can't be made within another
        rows = buildrows(maze, which, name);
    }
    u32 at = 0;
    for (u32 i = 0; i < rows->runs.count; i++) { // in the order of the lists
        const Run run = items<Run>(&rows->runs)[i];
        for (; at < run.end; at++) {
            drawstretch(items<GantryStretch>(&rows->stretches) + at, which, sight, once);
        }
        if (run.list != 0) {
            ListOnce_draw(once);
            glCallList(run.list);
        }
    }
}

// Where the parts of a level go that isn't kept.
struct Speck {
    GantryPart which;
    const Sight* sight;
    ListOnce* once;
};

static void drawspeck(const GantryStretch* stretch, void* to)
{
    const Speck* const speck = static_cast<Speck*>(to);
    drawstretch(stretch, speck->which, speck->sight, speck->once);
}

void gantry_speck(Maze* maze, GantryPart which, const Sight* sight, ListOnce* once)
{
    Speck speck = {.which = which, .sight = sight, .once = once};
    const GantryFilter filter = {.sight = sight, .reach = gantry_extent(maze)->reach};
    gantry_eachstretch(maze, &filter, which == GANTRY_BALLS, drawspeck, &speck);
}
