// Which edges of a node a style draws.
#pragma once

#include "model/pos.h"

/// Lists the exits of a node with copies of their records: all of Pos_alledges with `alledges`, else the
/// node's plain edges. Both arrays are the caller's, of POS_MAXEDGES. Returns the number.
i32 exits_list(Pos at, bool alledges, Pos* exits, VisitRec* recs);

/// Whether a level draws its edges to nodes of `target`. One that climbs out is drawn from above, by the
/// level that owns it; one inside a level is drawn from both ends, each with its own record.
bool exits_drawn(const Maze* maze, const Maze* target);
