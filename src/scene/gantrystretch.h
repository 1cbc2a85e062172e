// The bars and balls of one stretch of a gantry, all of them or those that a view may show.
//
// A way of thousands of units has thousands of equal posts or rungs, of which a view from one end shows the
// nearest hundred, and a view from far off none but those few on which the middle of a pixel happens to
// lie. They are found by halving: a run of posts or rungs of which nothing is painted is left out whole.
#pragma once

#include "scene/gantryparts.h"
#include "scene/sight.h"

/// The bars of a stretch, in the order of gantry_eachbar; with a sight without those that it doesn't paint,
/// null leaves nothing out.
void gantry_stretchbars(const GantryStretch* stretch, const Sight* sight, GantryTakeBar take,
                        void* to);

/// Its balls, in the order of gantry_eachball.
void gantry_stretchballs(const GantryStretch* stretch, const Sight* sight, GantryTakeBall take,
                         void* to);

/// How far the posts of a stretch stand before and behind its lines, at most. They are set by distances
/// along the way, and where corners cut a side short of these they stand where the side would be.
f64 gantry_stretchstray(const GantryStretch* stretch);

/// How many bars a stretch has; its balls aren't more.
i32 gantry_stretchcount(const GantryStretch* stretch);
