#include "generate/carve.h"

#include "base/rnd.h"

void makemaze(Maze* maze)
{
    switch (irand(3)) {
    case 1: makemaze_spanning(maze); break;
    case 2: makemaze_corridors(maze); break;
    default: makemaze_threshold(maze); break;
    }
}

void makemaze_all(Maze* maze)
{
    Maze_foreach(maze, makemaze);
}

void Maze_foreach(Maze* maze, void (*f)(Maze*))
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        Maze* const sub = Maze_node(maze, i)->sub;
        if (sub != nullptr) {
            Maze_foreach(sub, f);
        }
    }
    f(maze);
}

void Maze_thinedges(Maze* maze, f64 keep)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
            if (slot < static_cast<i32>(node->nedges) && node->edges[slot] > i &&
                rnd(1.0) >= keep) {
                Maze_unjoin(maze, i, node->edges[slot], true);
            }
        }
    }
}

static bool lists(const MazeNode* node, i32 target)
{
    for (i32 i = static_cast<i32>(node->nedges) - 1; i >= 0; i--) {
        if (node->edges[i] == target) {
            return true;
        }
    }
    return false;
}

void Maze_keepedges(Maze* maze, const Maze* pattern)
{
    for (i32 i = Maze_count(maze) - 1; i >= 0; i--) {
        const MazeNode* const node = Maze_node(maze, i);
        for (i32 slot = static_cast<i32>(node->nedges) - 1; slot >= 0; slot--) {
            if (slot < static_cast<i32>(node->nedges) &&
                !lists(Maze_node(pattern, i), node->edges[slot])) {
                Maze_unjoin(maze, i, node->edges[slot], true);
            }
        }
    }
}

void Maze_dropisolated(Maze* maze)
{
    const i32 ports = Maze_ports(maze);
    for (i32 i = Maze_count(maze) - 1; i >= ports; i--) {
        if (Maze_node(maze, i)->nedges == 0) {
            Maze_delnode(maze, i, true);
        }
    }
}
