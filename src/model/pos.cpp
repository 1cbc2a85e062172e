#include "model/pos.h"

#include "base/report.h"
#include "base/vec3.h"
#include "model/attachment.h"

#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>

// The highest slot of a node that holds `target`, -1 if there is none.
static i32 slotof(const MazeNode* node, i32 target)
{
    i32 i = static_cast<i32>(node->nedges) - 1;
    while (i >= 0 && node->edges[i] != target) {
        i--;
    }
    return i;
}

Pos Pos_submaze_enter(Pos from, Maze* sub)
{
    if (sub->parent != from.maze) {
        return Pos_null;
    }
    const i32 slot = slotof(Maze_node(from.maze, sub->parentnode), from.node);
    return slot >= 0 ? Pos{sub, slot} : Pos_null;
}

Pos Pos_submaze_exit(Pos pos)
{
    Maze* const parent = pos.maze->parent;
    const MazeNode* const holder = Maze_parentnode(pos.maze);
    if (holder == nullptr || static_cast<u32>(pos.node) >= holder->nedges) {
        return Pos_null;
    }
    const i32 target = holder->edges[pos.node];
    const MazeNode* const node = Maze_node(parent, target);
    if (node->sub == nullptr) {
        return {parent, target};
    }
    if (node->sub->parent != parent) {
        return Pos_null;
    }
    const i32 slot = slotof(node, pos.maze->parentnode);
    return slot >= 0 ? Pos{node->sub, slot} : Pos_null;
}

// Where an edge of the node under `pos` arrives.
static Pos arrival(Pos pos, i32 target)
{
    Maze* const sub = Maze_node(pos.maze, target)->sub;
    if (sub == nullptr) {
        return {pos.maze, target};
    }
    const Pos port = Pos_submaze_enter(pos, sub);
    if (port.maze == nullptr) {
        report_inner("maze", 5, REPORT_FATAL, "Pos_alledges: Pos_submaze_enter returned Pos_null",
                     0);
    }
    return port;
}

i32 Pos_alledges(Pos pos, Pos* out, VisitRec* outrecs)
{
    const MazeNode* const node = Pos_node(pos);
    const i32 n = static_cast<i32>(node->nedges);
    for (i32 i = 0; i < n; i++) { // slot order
        out[i] = arrival(pos, node->edges[i]);
        if (outrecs != nullptr) {
            outrecs[i] = node->edgerec[i];
        }
    }
    out[n] = Pos_submaze_exit(pos);
    if (out[n].maze == nullptr) {
        return n;
    }
    if (outrecs != nullptr) {
        outrecs[n] = Maze_parentnode(pos.maze)->edgerec[pos.node];
    }
    return n + 1;
}

// A field of VisitRec that takes the time of a passage.
using Stamp = f64 VisitRec::*;

static void stampslots(MazeNode* node, i32 target, Stamp stamp, f64 time)
{
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] == target) {
            node->edgerec[i].*stamp = time;
        }
    }
}

static void stampedge(Maze* maze, i32 a, i32 b, Stamp stamp, f64 time)
{
    stampslots(Maze_node(maze, a), b, stamp, time);
    stampslots(Maze_node(maze, b), a, stamp, time);
}

void Maze_markwalked(Maze* maze, i32 a, i32 b, f64 time)
{
    stampedge(maze, a, b, &VisitRec::walked, time);
    MazeNode* const arrived = Maze_node(maze, b);
    if (arrived->rec.walked < 0.0) {
        maze->visitednodes++;
    }
    arrived->rec.walked = time;
    Maze_freeflags(maze, ATT_VISITS, false);
}

// The edge of the parent node that leads to `target` has been used.
static void markexit(Maze* sub, i32 target)
{
    const i32 slot = slotof(Maze_parentnode(sub), target);
    if (slot < 0) {
        return;
    }
    const u32 used = sub->exitsused | 1U << (slot % 32);
    if (used != sub->exitsused) {
        sub->exitsused = used;
        Maze_freeflags(sub, ATT_EXITS, false);
    }
}

// One passage between adjacent positions, as an edge of one maze.
struct Passage {
    Maze* maze; // null if the two have no such edge
    i32 a;
    i32 b;
};

static Passage passage(Pos from, Pos to)
{
    if (from.maze == to.maze) {
        return {from.maze, from.node, to.node};
    }
    if (to.maze == from.maze->parent) {
        return {to.maze, from.maze->parentnode, to.node};
    }
    if (from.maze == to.maze->parent) {
        return {from.maze, from.node, to.maze->parentnode};
    }
    if (from.maze->parent != nullptr && from.maze->parent == to.maze->parent) {
        return {from.maze->parent, from.maze->parentnode, to.maze->parentnode};
    }
    return {nullptr, 0, 0};
}

void Pos_markwalked(Pos from, Pos to, f64 time)
{
    const Passage edge = passage(from, to);
    if (edge.maze == nullptr) {
        return;
    }
    Maze_markwalked(edge.maze, edge.a, edge.b, time);
    if (from.maze != edge.maze) {
        markexit(from.maze, edge.b);
    }
    if (to.maze != edge.maze) {
        markexit(to.maze, edge.a);
    }
}

void Pos_marktrailed(Pos from, Pos to, f64 time)
{
    const Passage edge = passage(from, to);
    if (edge.maze == nullptr) {
        return;
    }
    stampedge(edge.maze, edge.a, edge.b, &VisitRec::trailed, time);
    Maze_node(edge.maze, edge.b)->rec.trailed = time;
}

// The node nearest to a place among the nodes `first` and higher, -1 if all are 1e20 away.
static i32 nearest(const Maze* maze, i32 first, const f64 place[3])
{
    f64 best = 1e20; // a squared distance
    i32 found = -1;
    for (i32 i = Maze_count(maze) - 1; i >= first; i--) {
        const f64* const pos = Maze_node(maze, i)->pos;
        const f64 dx = pos[0] - place[0];
        const f64 dy = pos[1] - place[1];
        const f64 dz = pos[2] - place[2];
        const f64 dist = dx * dx + dy * dy + dz * dz;
        if (dist < best) {
            best = dist;
            found = i;
        }
    }
    return found;
}

static i32 addport(Maze* sub)
{
    MazeNode node = *Maze_node(sub, 0);
    node.nedges = 0;
    node.sub = nullptr;
    node.expandable = 0;
    f64 v[3];
    vec3_random_sphere(v, 1.0);
    for (i32 k = 2; k >= 0; k--) {
        node.pos[k] += v[k];
    }
    const i32 n = Maze_addnode(sub, &node);
    Maze_join(sub, n, 0);
    return n;
}

void Maze_fixports(Maze* sub)
{
    const Maze* const parent = sub->parent;
    if (parent == nullptr || Maze_count(sub) == 0) {
        return;
    }
    const i32 ports = Maze_ports(sub);
    for (i32 i = 0; i < ports; i++) { // an earlier edge has the first pick
        const i32 neighbour = Maze_node(parent, sub->parentnode)->edges[i];
        i32 port = nearest(sub, i, Maze_node(parent, neighbour)->pos);
        if (port < 0) {
            port = addport(sub);
        }
        if (port != i) {
            Maze_swapnodes(sub, i, port);
        }
    }
}

static constexpr f64 steepest = 0.8726646259971648; // 50 degrees: a steeper exit has no walkway

// Rising angles; equal ones stay in the order of their exits.
static void sortbyangle(EdgeAngleRec* recs, i32 n)
{
    for (i32 i = 1; i < n; i++) { // insertion
        const EdgeAngleRec rec = recs[i];
        i32 j = i;
        while (j > 0 && rec.angle < recs[j - 1].angle) {
            recs[j] = recs[j - 1];
            j--;
        }
        recs[j] = rec;
    }
}

static i32 backexit(Pos from, Pos to)
{
    Pos exits[POS_MAXEDGES];
    i32 i = Pos_alledges(to, exits, nullptr) - 1;
    while (i >= 0 && !Pos_same(exits[i], from)) {
        i--;
    }
    return i;
}

static f64 compassangle(const f64 d[3])
{
    if (d[0] == 0.0 && d[1] == 0.0) {
        return EDGEANGLE_STEEP;
    }
    const f64 slope = std::atan(d[2] / std::sqrt(d[0] * d[0] + d[1] * d[1]));
    return std::fabs(slope) > steepest ? EDGEANGLE_STEEP : std::atan2(d[1], d[0]);
}

static void setcorner(f64 out[3], f64 x, f64 y, f64 z)
{
    out[0] = x;
    out[1] = y;
    out[2] = z;
}

// A dead end: the walkway ends in a square cap around the centre.
static void deadend(EdgeAngleRec* rec, const f64 d[3], f64 r)
{
    const f64 side[3] = {d[1], -d[0], 0.0};
    f64 u[3];
    vec3_unit(u, side);
    const f64 across = (u[1] - u[0]) * r;
    const f64 along = (u[0] + u[1]) * r;
    rec->cornerdist = -r;
    rec->prevcornerdist = -r;
    setcorner(rec->corner, across, -along, -u[2] * r);
    setcorner(rec->prevcorner, along, across, u[2] * r);
}

static void leftcorner(EdgeAngleRec* rec, const EdgeAngleRec* next, const f64 d[3], f64 r)
{
    const f64 g = next->angle - rec->angle;
    const f64 t = std::fabs(g) > 0.01 ? std::tan(std::numbers::pi / 2 - g / 2) * r : 0.0;
    const f64 flat[3] = {d[0], d[1], 0.0};
    f64 u[3];
    vec3_unit(u, flat); // zero for a target straight above, and so are the components then
    rec->cornerdist = t;
    setcorner(rec->corner, u[0] * t - u[1] * r, u[1] * t + u[0] * r, 0.0);
}

// The corners of the flat exits, which come first in `recs`; `d` is by exit number.
static void findcorners(EdgeAngleRec* recs, i32 flat, const f64 (*d)[3], f64 r)
{
    if (flat == 1) {
        deadend(&recs[0], d[recs[0].exit], r);
        return;
    }
    for (i32 i = flat - 1; i >= 0; i--) {
        leftcorner(&recs[i], &recs[(i + 1) % flat], d[recs[i].exit], r);
    }
    for (i32 i = flat - 1; i >= 0; i--) {
        const EdgeAngleRec* const before = &recs[(i + flat - 1) % flat];
        recs[i].prevcornerdist = before->cornerdist;
        std::memcpy(recs[i].prevcorner, before->corner, sizeof recs[i].prevcorner);
    }
}

static void angletable(EdgeAngleRec* out, Pos pos)
{
    Pos exits[POS_MAXEDGES];
    EdgeAngleRec recs[POS_MAXEDGES] = {};
    f64 d[POS_MAXEDGES][3];
    const MazeNode* const node = Pos_node(pos);
    const i32 n = Pos_alledges(pos, exits, nullptr);
    i32 flat = 0;
    for (i32 i = n - 1; i >= 0; i--) {
        assert(exits[i].maze != nullptr); // a missing port has ended the process
        vec3_sub(d[i], Pos_node(exits[i])->pos, node->pos);
        recs[i].exit = i;
        recs[i].backexit = backexit(pos, exits[i]);
        recs[i].angle = compassangle(d[i]);
        flat += recs[i].angle != EDGEANGLE_STEEP ? 1 : 0;
    }
    sortbyangle(recs, n);
    findcorners(recs, flat, d, node->radius);
    for (i32 i = n - 1; i >= 0; i--) {
        out[recs[i].exit] = recs[i];
    }
}

void Pos_edgeanglerecs(Pos pos, EdgeAngleRec out[POS_MAXEDGES])
{
    std::memset(out, 0, POS_MAXEDGES * sizeof(EdgeAngleRec));
    angletable(out, pos);
}

static void freetable(void* data, Maze*)
{
    std::free(data);
}

EdgeAngleRec* Maze_edgeanglerecs(Maze* maze)
{
    const size_t count = static_cast<size_t>(Maze_count(maze)) * POS_MAXEDGES;
    EdgeAngleRec* const recs =
        static_cast<EdgeAngleRec*>(std::calloc(count + 1, sizeof(EdgeAngleRec)));
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        if (Maze_node(maze, i)->sub == nullptr) {
            angletable(recs + static_cast<size_t>(i) * POS_MAXEDGES, {maze, i});
        }
    }
    Maze_attach(maze, "EdgeAngleRecs", recs, freetable, ATT_GEOMETRY);
    return recs;
}
