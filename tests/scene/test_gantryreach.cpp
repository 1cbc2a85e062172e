// Levels of gantries that are left out of a picture, and how far gantries reach.
#include "model/attachment.h"
#include "model/drawsphere.h"
#include "model/pos.h"
#include "scene/gantry.h"
#include "scene/gantryreach.h"
#include "tests/gantries.h"
#include "tests/world.h"

#include <algorithm>
#include <cmath>
#include <numbers>
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

// Beside the player a maze far to the east, made by `fill` on this place.
static const f64 east[3] = {300, 0, 0};

template <typename Fill> static auto to_the_east(Fill fill)
{
    return [fill](Maze* root) {
        add_node(root, 0, 0, 0, 0.5);
        add_node(root, east[0], east[1], east[2], 0.5);
        fill(add_sub(root, 1));
    };
}

static i32 add_arm(Maze* maze, i32 from, f64 length, f64 angle, f64 radius)
{
    const f64* const p = Maze_node(maze, from)->pos;
    const i32 n = add_node(maze, p[0] + length * std::cos(angle), p[1] + length * std::sin(angle),
                           p[2], radius);
    Maze_join(maze, from, n);
    return n;
}

// Two walkways that lead west, one on each side of it: their angles are all but a turn apart, and so the
// corner between them stands off by 50 units.
static void fill_wedge(Maze* maze)
{
    add_node(maze, east[0], east[1], east[2], 0.1);
    add_arm(maze, 0, 5, std::numbers::pi - 0.002, 0.1);
    add_arm(maze, 0, 5, -std::numbers::pi + 0.002, 0.1);
}

// A walkway of which corners take the whole left side but for a hundredth of a unit, with a radius twice as
// large at one end: the line through that bit leads its post 50 units to the side.
static void fill_pinched(Maze* maze)
{
    add_node(maze, east[0], east[1], east[2], 1.0);
    add_arm(maze, 0, 10, 0, 0.5);
    add_arm(maze, 0, 8, 2 * std::atan(1 / 6.0), 1.0);
    add_arm(maze, 1, 3, std::numbers::pi - 2 * std::atan(0.5 / 3.99), 0.5);
}

static void expect_held(const GantryNest& nest)
{
    for (Maze* const maze : nest.mazes) {
        f64 centre[3];
        f64 radius;
        Maze_drawsphere(maze, centre, &radius);
        const f64 most = radius + gantry_extent(maze)->reach;
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

TEST(gantry_culling, knows_how_far_each_part_stands_off_from_its_level)
{
    expect_held(ReachNest(2));
    expect_held(GantryNest(48, 36, to_the_east(fill_wedge)));
    expect_held(GantryNest(48, 36, to_the_east(fill_pinched)));
}

// What stands around a place is seen from close by, and nothing on the other side.
template <typename Fill> static void expect_seen(Fill fill, Vec place)
{
    GantryNest nest(48, 36, to_the_east(fill));
    const f64 eye[3] = {place.x, place.y + 0.5, place.z + 0.5};
    const f64 up[3] = {eye[0], eye[1] + 0.1, eye[2] + 1};
    look_at(&nest.game, eye, up);
    const Picture sky = picture_draw(&nest.game);
    const f64 target[3] = {place.x, place.y, place.z + 0.3};
    look_at(&nest.game, eye, target);
    const Picture culled = picture_draw(&nest.game);
    gantry_everylevel = true;
    const Picture whole = picture_draw(&nest.game);
    gantry_everylevel = false;
    EXPECT_TRUE(culled.bytes == whole.bytes);
    EXPECT_FALSE(sky.bytes == whole.bytes);
}

TEST(gantry_culling, leaves_in_a_corner_between_two_ways_west)
{
    expect_seen(fill_wedge, {255, 0, 0});
}

TEST(gantry_culling, leaves_in_a_post_that_stands_far_off_its_walkway)
{
    expect_seen(fill_pinched, {305, 51, 0});
}

TEST(gantry_culling, takes_a_maze_that_has_come_to_reach_farther_into_account)
{
    GantryNest nest(48, 36, to_the_east(fill_wedge));
    Maze* const wedge = nest.mazes[1];
    const f64 eye[3] = {255, 0.5, 0.5};
    const f64 target[3] = {255, 0, 0.3};
    look_at(&nest.game, eye, target);
    f64* const arm = Maze_node(wedge, 2)->pos;
    arm[1] = -5; // to the south-west
    Maze_freeflags(wedge, ATT_GEOMETRY, false);
    const Picture without = picture_draw(&nest.game);
    arm[1] = -0.01;
    Maze_freeflags(wedge, ATT_GEOMETRY, false);
    EXPECT_FALSE(without.bytes == picture_draw(&nest.game).bytes);
}
