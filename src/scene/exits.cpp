#include "scene/exits.h"

i32 exits_list(Pos at, bool alledges, Pos* exits, VisitRec* recs)
{
    if (alledges) {
        return Pos_alledges(at, exits, recs);
    }
    const MazeNode* const node = Pos_node(at);
    const i32 count = static_cast<i32>(node->nedges);
    for (i32 i = count - 1; i >= 0; i--) {
        exits[i] = {at.maze, node->edges[i]};
        recs[i] = node->edgerec[i];
    }
    return count;
}

bool exits_drawn(const Maze* maze, const Maze* target)
{
    return target->parent == maze || target->parent == maze->parent;
}
