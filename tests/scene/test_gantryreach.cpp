// Levels of gantries that are left out of a picture, and how far gantries reach.
#include "model/drawsphere.h"
#include "model/pos.h"
#include "scene/gantry.h"
#include "scene/gantryreach.h"
#include "tests/gantries.h"
#include "tests/world.h"

#include <algorithm>
#include <random>

// Nine nodes in a square around a place, joined as a grid, with a maze of the same kind in every
// second one, down to the lowest level.
static void fill_square(Maze* maze, const f64 at[3], f64 size, i32 levels, std::mt19937* random)
{
    std::uniform_real_distribution<f64> part(-0.2, 0.2);
    for (i32 i = 0; i < 9; i++) {
        add_node(maze, at[0] + size * (i % 3 - 1 + part(*random)),
                 at[1] + size * (i / 3 - 1 + part(*random)), at[2] + size * 2 * part(*random),
                 0.1 * size);
    }
    join_square(maze);
    for (i32 i = 0; levels > 1 && i < 9; i += 2) {
        Maze* const sub = add_sub(maze, i);
        fill_square(sub, Maze_node(maze, i)->pos, size / 6, levels - 1, random);
        Maze_fixports(sub);
    }
}

// A world of three levels, of 31 mazes.
struct ReachNest : GantryNest {
    explicit ReachNest(u32 seed)
        : GantryNest(48, 36, [seed](Maze* root) {
              std::mt19937 random(seed);
              const f64 middle[3] = {0, 0, 0};
              fill_square(root, middle, 30, 3, &random);
          })
    {
    }

    // A view from inside, the same for the same number.
    void look(u32 n)
    {
        std::mt19937 random(n);
        std::uniform_real_distribution<f64> part(-1, 1);
        const Maze* const maze = mazes[random() % mazes.size()];
        const f64* const p = Maze_node(maze, static_cast<i32>(random() % 9))->pos;
        const f64 eye[3] = {p[0] + 0.3 * part(random), p[1] + 0.3 * part(random), p[2] + 0.5};
        const f64 target[3] = {eye[0] + part(random), eye[1] + part(random),
                               eye[2] + 0.5 * part(random)};
        look_at(&game, eye, target);
    }
    i32 built() const
    {
        return static_cast<i32>(std::count_if(mazes.begin(), mazes.end(), [](const Maze* maze) {
            return Maze_attachment(maze, "gantrylist") != nullptr;
        }));
    }
};

TEST(gantry_culling, leaves_out_levels_without_changing_a_pixel)
{
    for (u32 seed = 0; seed < 5; seed++) {
        ReachNest nest(seed);
        for (u32 view = 0; view < 20; view++) {
            nest.look(view);
            const Picture culled = picture_draw(&nest.game);
            gantry_everylevel = true;
            const Picture whole = picture_draw(&nest.game);
            gantry_everylevel = false;
            EXPECT_TRUE(culled.bytes == whole.bytes) << seed << " " << view;
        }
    }
}

TEST(gantry_culling, builds_no_list_of_a_level_out_of_view)
{
    i32 least = 31;
    for (u32 view = 0; view < 5; view++) {
        ReachNest nest(1);
        nest.look(view);
        picture_draw(&nest.game);
        least = std::min(least, nest.built());
    }
    EXPECT_LT(least, 20);
    ReachNest nest(1);
    gantry_everylevel = true;
    picture_draw(&nest.game);
    gantry_everylevel = false;
    EXPECT_EQ(nest.built(), 31);
}

TEST(gantry_culling, knows_how_far_each_part_stands_off_from_its_level)
{
    const ReachNest nest(2);
    for (Maze* const maze : nest.mazes) {
        f64 centre[3];
        f64 radius;
        Maze_drawsphere(maze, centre, &radius);
        const f64 most = radius + gantry_extent(maze)->reach;
        EXPECT_LE(gantry_extent(maze)->reach,
                  200.1 * radius + 1.07); // as is assumed of all below a level
        for (const GantryPlate& plate : walkways_of(maze)) {
            for (const GantryCorner& corner : plate.corners) {
                EXPECT_LE(length(vec(corner.pos) - vec(centre)), most);
            }
        }
        for (const GantryBar& bar : bars_of(maze)) {
            const Vec start = vec(bar.start) - vec(centre);
            EXPECT_LE(length(start) + bar.radius, most);
            EXPECT_LE(length(start + vec(bar.axis)) + bar.radius, most);
        }
        for (const GantryBall& ball : balls_of(maze)) {
            EXPECT_LE(length(vec(ball.centre) - vec(centre)) + ball.radius, most);
        }
    }
}
