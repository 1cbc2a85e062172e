#include "scene/lists.h"

#include "gfx/gfx_opengl.h"
#include "model/drawsphere.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>

void ListPair_delete(void* data, Maze* /*maze*/)
{
    ListPair* const lists = static_cast<ListPair*>(data);
    if (gfx_alive) {
        glDeleteLists(lists->sticks, 1);
        glDeleteLists(lists->balls, 1);
    }
    std::free(lists);
}

void* list_data(u32 list)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(list));
}

u32 list_name(const void* data)
{
    return static_cast<u32>(reinterpret_cast<uintptr_t>(data));
}

void List_delete(void* data, Maze* /*maze*/)
{
    if (gfx_alive) {
        glDeleteLists(list_name(data), 1);
    }
}

static GLuint buildlist(Maze* maze, const char* name, ListBuilder builder)
{
    const GLuint list = glGenLists(1);
    glNewList(list, GL_COMPILE);
    builder(maze);
    glEndList();
    Maze_attach(maze, name, list_data(list), List_delete, ATT_GEOMETRY | ATT_EXITS);
    return list;
}

// A sphere by one row of the clip matrix: the least and greatest value that its points take.
struct Span {
    f64 low, high;
};

static Span spanof(const f64 row[4], const f64 c[3], f64 radius)
{
    const f64 middle = row[0] * c[0] + row[1] * c[1] + row[2] * c[2] + row[3];
    const f64 reach = radius * std::sqrt(row[0] * row[0] + row[1] * row[1] + row[2] * row[2]);
    return {middle - reach, middle + reach};
}

// Whether a span across the view, divided by the distance, holds the middle of a pixel. Only there is
// anything painted, so that most of what is smaller than a pixel can be told to paint nothing.
static bool holdsmiddle(Span across, Span ahead, i32 pixels)
{
    const f64 low = across.low / (across.low < 0.0 ? ahead.low : ahead.high);
    const f64 high = across.high / (across.high > 0.0 ? ahead.low : ahead.high);
    const f64 slack = 0.05; // of a pixel, for the rounding of corners
    const f64 first = std::ceil((low + 1.0) * 0.5 * pixels - 0.5 - slack);
    const f64 last = std::floor((high + 1.0) * 0.5 * pixels - 0.5 + slack);
    return first <= last;
}

// Whether a sphere lies outside one of the two sides that a row of the clip matrix tells of. It takes the
// matrix as it is, so that the skewed frustum of a stereo pair is no exception.
static bool besideview(const f64 row[4], const f64 ahead[4], const f64 centre[3], f64 radius)
{
    f64 right[4];
    f64 left[4];
    for (i32 i = 3; i >= 0; i--) {
        right[i] = ahead[i] - row[i];
        left[i] = ahead[i] + row[i];
    }
    return spanof(right, centre, radius).high < 0.0 || spanof(left, centre, radius).high < 0.0;
}

static bool paintsnothing(const ViewRec* view, const f64 centre[3], f64 radius)
{
    const Span ahead = spanof(view->clip[3], centre, radius);
    if (ahead.high < view->near || ahead.low > view->far) {
        return true;
    }
    const i32 pixels[2] = {view->viewport[1] - view->viewport[0],
                           view->viewport[3] - view->viewport[2]};
    for (i32 i = 1; i >= 0; i--) {
        const f64* const row = view->clip[i];
        if (besideview(row, view->clip[3], centre, radius)) {
            return true;
        }
        if (ahead.low > 0.0 && !holdsmiddle(spanof(row, centre, radius), ahead, pixels[i])) {
            return true;
        }
    }
    return false;
}

// Whether nothing of a level and of those below it can be painted. The card's single precision moves
// what it draws by some millionths of the numbers that go into it: of the place in the world and of the
// eye's.
static bool outofsight(Maze* maze, const ListView* from)
{
    if (from == nullptr || from->view == nullptr) {
        return false;
    }
    f64 centre[3];
    f64 radius;
    Maze_drawsphere(maze, centre, &radius);
    f64 size = radius;
    for (i32 i = 2; i >= 0; i--) {
        size += std::fabs(centre[i]) + std::fabs(from->view->eye[i]);
    }
    return paintsnothing(from->view, centre, radius + from->reach + 1e-6 * size);
}

void Maze_calllist(Maze* maze, const char* name, ListBuilder builder, bool recursive,
                   const ListView* from)
{
    if (outofsight(maze, from)) {
        return;
    }
    GLuint list = list_name(Maze_attachment(maze, name));
    if (list == 0) {
        list = buildlist(maze, name, builder);
    }
    glCallList(list);
    for (i32 n = recursive ? Maze_count(maze) - 1 : -1; n >= 0; n--) {
        Maze* const sub = Maze_node(maze, n)->sub;
        if (sub != nullptr) {
            Maze_calllist(sub, name, builder, true, from);
        }
    }
}
