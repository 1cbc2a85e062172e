// Gantries as lists of parts, against places worked out by hand.
#include "model/attachment.h"
#include "model/pos.h"
#include "scene/gantryparts.h"
#include "tests/gantries.h"
#include "tests/scene_picture.h"

#include <algorithm>
#include <limits>
#include <numbers>
#include <random>

static void expect_at(const f64 got[3], f64 x, f64 y, f64 z)
{
    EXPECT_NEAR(got[0], x, 1e-12);
    EXPECT_NEAR(got[1], y, 1e-12);
    EXPECT_NEAR(got[2], z, 1e-12);
}

static void expect_corner(const GantryCorner& got, f64 x, f64 y, f64 z, f64 u, f64 v)
{
    expect_at(got.pos, x, y, z);
    EXPECT_NEAR(got.tex[0], u, 1e-10);
    EXPECT_NEAR(got.tex[1], v, 1e-10);
}

// Bars from a place upward are posts; the rest are rails or rungs.
static std::vector<GantryBar> posts_of(Maze* maze)
{
    std::vector<GantryBar> posts = bars_of(maze);
    std::erase_if(posts, [](const GantryBar& bar) {
        return bar.axis[0] != 0 || bar.axis[1] != 0 || bar.axis[2] != 1;
    });
    return posts;
}

static std::vector<GantryBar> bars_of_radius(Maze* maze, f64 radius)
{
    std::vector<GantryBar> bars = bars_of(maze);
    std::erase_if(bars, [=](const GantryBar& bar) { return bar.radius != radius; });
    return bars;
}

// Whether a part begins at a place, in exact numbers but for rounding.
static bool near_place(const f64 a[3], f64 x, f64 y, f64 z)
{
    return std::hypot(a[0] - x, a[1] - y, a[2] - z) < 1e-12;
}

static i32 count_at(const std::vector<GantryBar>& bars, f64 x, f64 y, f64 z)
{
    return static_cast<i32>(std::count_if(bars.begin(), bars.end(), [=](const GantryBar& bar) {
        return near_place(bar.start, x, y, z);
    }));
}

static i32 count_at(const std::vector<GantryBall>& balls, f64 x, f64 y, f64 z)
{
    return static_cast<i32>(std::count_if(balls.begin(), balls.end(), [=](const GantryBall& ball) {
        return near_place(ball.centre, x, y, z);
    }));
}

// P at the origin, its neighbours `far` away to the east, north, west and south.
static Level star(i32 arms, f64 far = 4, f64 radius = 0.5)
{
    Level level;
    level.node(0, 0, 0, radius);
    const f64 towards[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    for (i32 i = 0; i < arms; i++) {
        level.node(far * towards[i][0], far * towards[i][1], 0, radius);
        level.join(0, i + 1);
    }
    return level;
}

// P at the origin and Q; the parts made from P's end come last.
static Level pair(f64 x, f64 y, f64 z, f64 radius = 0.5, f64 qradius = 0.5)
{
    Level level;
    level.node(0, 0, 0, radius);
    level.node(x, y, z, qradius);
    level.join(0, 1);
    return level;
}

static void expect_same_plate(const GantryPlate& a, const GantryPlate& b)
{
    EXPECT_EQ(a.angle, b.angle);
    for (i32 i = 0; i < 3; i++) {
        EXPECT_EQ(a.normal[i], b.normal[i]);
    }
    for (i32 i = 0; i < 4; i++) {
        EXPECT_EQ(std::memcmp(&a.corners[i], &b.corners[i], sizeof a.corners[i]), 0) << i;
    }
}

// -------- dead end

TEST(gantry_dead_end, has_a_walkway_with_a_square_cap_behind_its_centre)
{
    const Level level = pair(4, 0, 0, 0.5, 0.25);
    const std::vector<GantryPlate> plates = walkways_of(level.maze);
    ASSERT_EQ(plates.size(), 2U);
    const GantryPlate& plate = plates[1];
    ASSERT_EQ(plate.ncorners, 4);
    expect_corner(plate.corners[0], -0.5, 0.5, 0, -10, 10);
    expect_corner(plate.corners[1], -0.5, -0.5, 0, -10, -10);
    expect_corner(plate.corners[2], 4.25, -0.25, 0, 85, -5);
    expect_corner(plate.corners[3], 4.25, 0.25, 0, 85, 5);
    expect_at(plate.normal, 0, 0, 1);
    EXPECT_EQ(plate.angle, 0);
}

TEST(gantry_dead_end, is_handled_from_the_other_end_too_with_its_holes_in_the_same_places)
{
    const Level level = pair(4, 0, 0, 0.5, 0.25);
    const GantryPlate plate = walkways_of(level.maze)[0];
    expect_same_plate(plate, walkways_of(level.maze)[1]);
}

TEST(gantry_dead_end, has_end_bars_and_two_corner_posts)
{
    const Level level = pair(4, 0, 0);
    const std::vector<GantryBar> bars = bars_of(level.maze);
    ASSERT_EQ(bars.size(), 16U); // of each end: four bars of the railing, a post, two bars, a post
    const GantryBar* const end = &bars[12];
    expect_at(end[0].start, -0.5, 0.5, 0);
    expect_at(end[0].axis, 0, 0, 1);
    expect_at(end[1].start, -0.5, 0.5, 0.5);
    expect_at(end[1].axis, 0, -1, 0);
    expect_at(end[2].start, -0.5, 0.5, 1);
    expect_at(end[2].axis, 0, -1, 0);
    expect_at(end[3].start, -0.5, -0.5, 0);
    expect_at(end[3].axis, 0, 0, 1);
    for (i32 i = 0; i < 4; i++) {
        EXPECT_EQ(end[i].radius, 0.025);
    }
}

TEST(gantry_dead_end, has_two_balls_on_its_posts)
{
    const Level level = pair(4, 0, 0);
    const std::vector<GantryBall> balls = balls_of(level.maze);
    ASSERT_EQ(balls.size(), 4U);
    expect_at(balls[2].centre, -0.5, 0.5, 1);
    expect_at(balls[3].centre, -0.5, -0.5, 1);
    EXPECT_EQ(balls[2].radius, 0.035);
}

TEST(gantry_dead_end, needs_no_triangles)
{
    EXPECT_TRUE(triangles_of(pair(4, 0, 0).maze).empty());
}

// -------- railing

TEST(gantry_railing, has_two_bars_on_each_side_the_lower_ones_first)
{
    const Level level = pair(4, 0, 0);
    const std::vector<GantryBar> bars = bars_of(level.maze);
    ASSERT_EQ(bars.size(), 16U);
    const GantryBar* const rails = &bars[8];
    const f64 side[4] = {-0.5, 0.5, -0.5, 0.5};
    const f64 height[4] = {0.5, 0.5, 1, 1};
    for (i32 i = 0; i < 4; i++) {
        expect_at(rails[i].start, -0.5, side[i], height[i]);
        expect_at(rails[i].axis, 5, 0, 0);
        EXPECT_EQ(rails[i].radius, 0.025);
    }
}

TEST(gantry_railing, of_an_edge_of_length_7_has_no_inner_posts)
{
    const Level level = pair(7, 0, 0);
    EXPECT_EQ(posts_of(level.maze).size(), 4U); // of the ends
    EXPECT_EQ(balls_of(level.maze).size(), 4U);
}

TEST(gantry_railing, of_an_edge_of_length_8_has_one_pair_of_posts_in_its_middle)
{
    const Level level = pair(8, 0, 0);
    const std::vector<GantryBar> posts = posts_of(level.maze);
    ASSERT_EQ(posts.size(), 8U); // a pair from each end of the edge
    EXPECT_EQ(count_at(posts, 4, -0.5, 0), 2);
    EXPECT_EQ(count_at(posts, 4, 0.5, 0), 2);
    const std::vector<GantryBall> balls = balls_of(level.maze);
    ASSERT_EQ(balls.size(), 8U);
    EXPECT_EQ(count_at(balls, 4, -0.5, 1), 2);
    EXPECT_EQ(count_at(balls, 4, 0.5, 1), 2);
}

TEST(gantry_railing, gives_the_right_hand_post_of_a_pair_first)
{
    const Level level = pair(8, 0, 0);
    const std::vector<GantryBar> bars = bars_of(level.maze);
    ASSERT_EQ(bars.size(), 20U);
    expect_at(bars[14].start, 4, -0.5, 0); // behind the four bars of P's end
    expect_at(bars[15].start, 4, 0.5, 0);
    const std::vector<GantryBall> balls = balls_of(level.maze);
    expect_at(balls[6].centre, 4, -0.5, 1);
    expect_at(balls[7].centre, 4, 0.5, 1);
}

TEST(gantry_railing, has_a_post_about_every_5_units)
{
    const f64 lengths[] = {7.4, 7.6, 12.4, 12.6, 52.4};
    const size_t spans[] = {1, 2, 2, 3, 10};
    for (i32 i = 0; i < 5; i++) {
        const Level level = pair(lengths[i], 0, 0);
        EXPECT_EQ(posts_of(level.maze).size(), 4 + 4 * (spans[i] - 1)) << lengths[i];
    }
}

TEST(gantry_railing, has_the_posts_of_both_sides_in_line_where_a_corner_cuts_one_short)
{
    Level level = pair(20, 0, 0);
    level.node(0, 10, 0, 0.5);
    level.join(0, 2); // the left side of the first edge begins at 0.5, its right side at -0.5
    const std::vector<GantryBar> posts = posts_of(level.maze);
    for (i32 i = 1; i < 4; i++) {
        EXPECT_EQ(count_at(posts, 5 * i, -0.5, 0), 2) << i;
        EXPECT_EQ(count_at(posts, 5 * i, 0.5, 0), 2) << i;
    }
}

TEST(gantry_railing, follows_a_slope_with_upright_posts_on_its_plate)
{
    const Level level = pair(8, 0, 6);
    const std::vector<GantryBar> posts = posts_of(level.maze);
    // a side runs from -0.5 to 10.5 along the edge, and from x = -0.5, z = 0 to x = 8.5, z = 6
    const f64 half = 5.5 / 11;
    EXPECT_EQ(count_at(posts, -0.5 + 9 * half, 0.5, 6 * half), 2);
    EXPECT_EQ(count_at(posts, -0.5 + 9 * half, -0.5, 6 * half), 2);
}

TEST(gantry_railing, whose_side_has_no_extent_has_its_posts_at_its_beginning)
{
    // corners of 90 degrees at both ends cut the left side of an edge of length 2 r to nothing
    Level level = pair(8, 0, 0, 4, 4);
    level.node(0, 20, 0, 4);
    level.node(8, 20, 0, 4);
    level.join(0, 2);
    level.join(1, 3);
    const std::vector<GantryBar> posts = posts_of(level.maze);
    for (const GantryBar& post : posts) {
        EXPECT_TRUE(std::isfinite(post.start[0] + post.start[1] + post.start[2]));
    }
    EXPECT_GE(count_at(posts, 4, 4, 0), 2);
}

// -------- junctions

TEST(gantry_straight, has_its_plates_meet_square_across_the_middle)
{
    Level level;
    level.node(-4, 0, 0, 0.5);
    level.node(0, 0, 0, 0.5);
    level.node(4, 0, 0, 0.5);
    level.join(0, 1);
    level.join(1, 2);
    const std::vector<GantryPlate> plates = walkways_of(level.maze);
    ASSERT_EQ(plates.size(), 4U);
    expect_corner(plates[1].corners[0], 0, 0.5, 0, 0, 10); // from the middle to the east
    expect_corner(plates[1].corners[1], 0, -0.5, 0, 0, -10);
    // to the west, laid from there, since that end comes later
    expect_corner(plates[2].corners[2], 0, -0.5, 0, 80, -10);
    expect_corner(plates[2].corners[3], 0, 0.5, 0, 80, 10);
    EXPECT_TRUE(triangles_of(level.maze).empty());
    const std::vector<GantryBar> posts = posts_of(level.maze);
    EXPECT_EQ(posts.size(), 6U);
    EXPECT_EQ(count_at(posts, 0, 0.5, 0), 1);
    EXPECT_EQ(count_at(posts, 0, -0.5, 0), 1);
}

TEST(gantry_corner, has_its_plates_meet_on_the_mitre)
{
    const Level level = star(2);
    const std::vector<GantryPlate> plates = walkways_of(level.maze);
    ASSERT_EQ(plates.size(), 4U);
    expect_corner(plates[2].corners[0], -0.5, -0.5, 0, -10, 10); // to the north
    expect_corner(plates[2].corners[1], 0.5, 0.5, 0, 10, -10);
    expect_corner(plates[3].corners[0], 0.5, 0.5, 0, 10, 10); // to the east
    expect_corner(plates[3].corners[1], -0.5, -0.5, 0, -10, -10);
    EXPECT_TRUE(triangles_of(level.maze).empty());
}

TEST(gantry_corner, has_a_post_with_a_ball_inside_and_outside)
{
    const Level level = star(2);
    const std::vector<GantryBar> posts = posts_of(level.maze);
    ASSERT_EQ(posts.size(), 6U);
    EXPECT_EQ(count_at(posts, 0.5, 0.5, 0), 1);
    EXPECT_EQ(count_at(posts, -0.5, -0.5, 0), 1);
    const std::vector<GantryBall> balls = balls_of(level.maze);
    ASSERT_EQ(balls.size(), 6U);
    EXPECT_EQ(count_at(balls, 0.5, 0.5, 1), 1);
    EXPECT_EQ(count_at(balls, -0.5, -0.5, 1), 1);
}

TEST(gantry_corner, has_its_railings_end_in_the_same_two_corners)
{
    const Level level = star(2);
    const std::vector<GantryBar> bars = bars_of(level.maze);
    // last come the parts of the corner: four bars to the north, four to the east, two posts
    ASSERT_EQ(bars.size(), 26U);
    const GantryBar* const north = &bars[16];
    const GantryBar* const east = &bars[20];
    expect_at(north[0].start, 0.5, 0.5, 0.5);
    expect_at(north[1].start, -0.5, -0.5, 0.5);
    expect_at(north[2].start, 0.5, 0.5, 1);
    expect_at(north[3].start, -0.5, -0.5, 1);
    expect_at(east[0].start, -0.5, -0.5, 0.5);
    expect_at(east[1].start, 0.5, 0.5, 0.5);
    expect_at(north[0].axis, 0, 4, 0);
    expect_at(east[0].axis, 5, 0, 0);
}

TEST(gantry_junction, of_three_flat_exits_is_closed_by_a_fan_of_triangles)
{
    const Level level = star(3);
    const std::vector<GantryPlate> fan = triangles_of(level.maze);
    ASSERT_EQ(fan.size(), 3U);
    const f64 corners[3][2][2] = {// right and left of each exit, the last exit first
                                  {{-0.5, 0.5}, {0, -0.5}},
                                  {{0.5, 0.5}, {-0.5, 0.5}},
                                  {{0, -0.5}, {0.5, 0.5}}};
    for (i32 i = 0; i < 3; i++) {
        const f64(*const c)[2] = corners[i];
        ASSERT_EQ(fan[i].ncorners, 3);
        expect_corner(fan[i].corners[0], 0, 0, 0, 0, 0);
        expect_corner(fan[i].corners[1], c[0][0], c[0][1], 0, 20 * c[0][0], 20 * c[0][1]);
        expect_corner(fan[i].corners[2], c[1][0], c[1][1], 0, 20 * c[1][0], 20 * c[1][1]);
        expect_at(fan[i].normal, 0, 0, 1);
        EXPECT_EQ(fan[i].angle, 0);
    }
}

TEST(gantry_junction, of_four_flat_exits_has_a_square_middle_and_a_post_in_each_corner)
{
    const Level level = star(4);
    const std::vector<GantryPlate> fan = triangles_of(level.maze);
    ASSERT_EQ(fan.size(), 4U);
    const std::vector<GantryBar> posts = posts_of(level.maze);
    const std::vector<GantryBall> balls = balls_of(level.maze);
    for (const f64 x : {-0.5, 0.5}) {
        for (const f64 y : {-0.5, 0.5}) {
            EXPECT_EQ(count_at(posts, x, y, 0), 1);
            EXPECT_EQ(count_at(balls, x, y, 1), 1);
        }
    }
    EXPECT_EQ(posts.size(), 4U + 8U); // and two at each dead end
}

static bool same_place(const GantryCorner& a, const GantryCorner& b)
{
    return near_place(a.pos, b.pos[0], b.pos[1], b.pos[2]);
}

// How many of the plates have a side from the one corner to the other, in this direction.
static i32 sides_between(const std::vector<GantryPlate>& plates, const GantryCorner& from,
                         const GantryCorner& to)
{
    i32 n = 0;
    for (const GantryPlate& plate : plates) {
        for (i32 i = 0; i < plate.ncorners; i++) {
            n += same_place(plate.corners[i], from) &&
                         same_place(plate.corners[(i + 1) % plate.ncorners], to)
                     ? 1
                     : 0;
        }
    }
    return n;
}

TEST(gantry_junction, of_any_flat_exits_is_closed_without_a_crack)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<f64> part(0.2, 1);
    std::uniform_real_distribution<f64> height(-3, 3);
    for (i32 arms = 3; arms <= 8; arms++) {
        Level level;
        level.node(1, 2, 3, 0.3);
        f64 angle = part(random);
        for (i32 i = 0; i < arms; i++) {
            angle += 2 * std::numbers::pi / arms * part(random);
            level.node(1 + 5 * std::cos(angle), 2 + 5 * std::sin(angle), 3 + height(random), 0.3);
            level.join(0, i + 1);
        }
        const std::vector<GantryPlate> plates = walkways_of(level.maze);
        const std::vector<GantryPlate> fan = triangles_of(level.maze);
        ASSERT_EQ(fan.size(), static_cast<size_t>(arms));
        for (const GantryPlate& piece : fan) { // its spokes meet its neighbours, its rim a plate
            EXPECT_EQ(sides_between(fan, piece.corners[1], piece.corners[0]), 1);
            EXPECT_EQ(sides_between(fan, piece.corners[0], piece.corners[2]), 1);
            EXPECT_EQ(sides_between(plates, piece.corners[2], piece.corners[1]), 2);
        }
    }
}

// -------- plates on slopes

TEST(gantry_plate, on_a_slope_lies_between_corners_at_the_height_of_each_node)
{
    const Level level = pair(4, 0, 3);
    const GantryPlate plate = walkways_of(level.maze)[1];
    expect_corner(plate.corners[0], -0.5, 0.5, 0, -10, 10);
    expect_corner(plate.corners[2], 4.5, -0.5, 3, 110, -10);
    expect_at(plate.normal, -0.6, 0, 0.8);
    EXPECT_EQ(plate.angle, 0);
}

// The first texture axis as the shader builds it from the normal and the angle.
static void texture_axis(f64 out[3], const f64 nv[3], f64 nw)
{
    i32 e = 0;
    for (i32 i = 1; i < 3; i++) {
        e = std::fabs(nv[i]) > std::fabs(nv[e]) + 1e-4 ? i : e;
    }
    f64 th[3] = {};
    th[(e + 1) % 3] = std::cos(nw);
    th[(e + 2) % 3] = std::sin(nw);
    const f64 k = -vec3_dot(th, nv) / nv[e];
    const f64 u = 1 / std::sqrt(k * k + 1);
    for (i32 i = 0; i < 3; i++) {
        out[i] = u * th[i] + (i == e ? k * u : 0);
    }
}

TEST(gantry_plate, has_the_angle_by_which_its_texture_runs_along_it)
{
    std::mt19937 random(8);
    std::uniform_real_distribution<f64> turn(-std::numbers::pi, std::numbers::pi);
    std::uniform_real_distribution<f64> rise(-1.18, 1.18); // tan 49.7 degrees
    for (i32 i = 0; i < 300; i++) {
        const f64 angle = i < 8 ? i * std::numbers::pi / 4 : turn(random);
        const f64 slope = i < 16 ? (i % 2 == 0 ? 1 : -1) : rise(random);
        const Level level = pair(std::cos(angle), std::sin(angle), slope);
        const GantryPlate plate = walkways_of(level.maze)[1];
        const f64 d[3] = {std::cos(angle), std::sin(angle), slope};
        f64 along[3];
        texture_axis(along, plate.normal, plate.angle);
        EXPECT_NEAR(vec3_dot(along, d), vec3_length(d), 1e-9) << angle << " " << slope;
        EXPECT_NEAR(vec3_dot(plate.normal, d), 0, 1e-12);
        EXPECT_NEAR(vec3_length(plate.normal), 1, 1e-12);
        EXPECT_GT(plate.normal[2], 0.6);
    }
}

TEST(gantry_plate, whose_normal_ties_takes_the_earlier_axis)
{
    EXPECT_EQ(walkways_of(pair(1, 0, 1).maze)[1].angle, std::atan2(1.0, 0.0)); // x
    EXPECT_EQ(walkways_of(pair(0, 1, 1).maze)[1].angle, std::atan2(0.0, 1.0)); // y
    EXPECT_EQ(walkways_of(pair(1, 1, 0).maze)[1].angle, std::atan2(1.0, 1.0)); // z wins clearly
}

TEST(gantry_plate, of_a_node_without_radius_points_up_with_the_angle_of_height_and_y)
{
    const Level level = pair(3, 2, 1, 0, 0);
    const GantryPlate plate = walkways_of(level.maze)[1];
    expect_at(plate.normal, 0, 0, 1);
    EXPECT_EQ(plate.angle, std::atan2(1.0, 2.0));
}

// -------- ladders

TEST(gantry_ladder, has_two_rails_and_a_rung_about_every_0_3_units)
{
    const Level level = pair(3, 0, 4);
    const std::vector<GantryBar> bars = bars_of(level.maze);
    ASSERT_EQ(bars.size(), 2U * (2 + 17)); // (int)(5 * 3.33 + 0.5)
    const GantryBar* const ladder = &bars[19];
    expect_at(ladder[0].start, 0, 0.2, 0); // across it: (0, -1, 0)
    expect_at(ladder[1].start, 0, -0.2, 0);
    for (i32 i = 0; i < 2; i++) {
        expect_at(ladder[i].axis, 3, 0, 4);
        EXPECT_EQ(ladder[i].radius, 0.025);
    }
    for (i32 i = 0; i < 17; i++) {
        const f64 s = (i + 0.5) / 17;
        expect_at(ladder[2 + i].start, 3 * s, 0.2, 4 * s);
        expect_at(ladder[2 + i].axis, 0, -0.4, 0);
        EXPECT_EQ(ladder[2 + i].radius, 0.015);
    }
}

TEST(gantry_ladder, that_is_vertical_has_its_rungs_along_x)
{
    const Level level = pair(0, 0, 3);
    const std::vector<GantryBar> bars = bars_of(level.maze);
    ASSERT_EQ(bars.size(), 2U * (2 + 10));
    const GantryBar* const ladder = &bars[12];
    expect_at(ladder[0].start, -0.2, 0, 0);
    expect_at(ladder[0].axis, 0, 0, 3);
    expect_at(ladder[1].start, 0.2, 0, 0);
    expect_at(ladder[2].start, -0.2, 0, 0.15);
    expect_at(ladder[2].axis, 0.4, 0, 0);
}

TEST(gantry_ladder, of_length_0_1_has_no_rung)
{
    const Level level = pair(0, 0, 0.1);
    EXPECT_EQ(bars_of(level.maze).size(), 4U);
    EXPECT_TRUE(bars_of_radius(level.maze, 0.015).empty());
}

TEST(gantry_ladder, between_two_nodes_on_one_spot_has_rails_of_no_length_and_no_rung)
{
    const Level level = pair(0, 0, 0);
    const std::vector<GantryBar> bars = bars_of(level.maze);
    ASSERT_EQ(bars.size(), 4U);
    for (const GantryBar& bar : bars) {
        expect_at(bar.axis, 0, 0, 0);
    }
    EXPECT_TRUE(walkways_of(level.maze).empty());
}

TEST(gantry_ladder, has_balls_at_the_four_ends_of_its_rails)
{
    const Level level = pair(0, 3, 4);
    const std::vector<GantryBall> balls = balls_of(level.maze);
    ASSERT_EQ(balls.size(), 8U);
    expect_at(balls[4].centre, -0.2, 0, 0); // across it: (1, 0, 0)
    expect_at(balls[5].centre, 0.2, 0, 0);
    expect_at(balls[6].centre, -0.2, 3, 4);
    expect_at(balls[7].centre, 0.2, 3, 4);
    EXPECT_EQ(balls[4].radius, 0.035);
}

TEST(gantry_ladder, that_is_vertical_has_its_balls_along_x)
{
    const Level level = pair(0, 0, -3);
    const std::vector<GantryBall> balls = balls_of(level.maze);
    ASSERT_EQ(balls.size(), 8U);
    expect_at(balls[4].centre, -0.2, 0, 0);
    expect_at(balls[7].centre, 0.2, 0, -3);
}

TEST(gantry_ladder, begins_at_a_node_that_has_no_flat_exit_and_so_no_plate_and_no_post)
{
    Level level = pair(0, 0, 3);
    level.node(0, 1, -3, 0.5);
    level.join(0, 2);
    EXPECT_TRUE(walkways_of(level.maze).empty());
    EXPECT_TRUE(triangles_of(level.maze).empty());
    EXPECT_TRUE(posts_of(level.maze).empty());
    const std::vector<GantryBar> rails = bars_of_radius(level.maze, 0.025);
    EXPECT_EQ(rails.size(), 8U);
    EXPECT_EQ(count_at(rails, 0.2, 0, 0), 2);
    EXPECT_EQ(count_at(rails, -0.2, 0, 0), 2);
    EXPECT_EQ(balls_of(level.maze).size(), 16U);
}

TEST(gantry_ladder, takes_no_part_in_the_corners_of_the_flat_exits_beside_it)
{
    Level level = star(2);
    level.node(0, 0, 5, 0.5);
    level.join(0, 3);
    EXPECT_EQ(walkways_of(level.maze).size(), 4U);
    EXPECT_TRUE(triangles_of(level.maze).empty());
    EXPECT_EQ(posts_of(level.maze).size(), 6U);
}

// The parts that the stretches of a level are cut into, by the longest.
static i32 most_parts(Maze* maze)
{
    i32 most = 0;
    gantry_eachstretch(
        maze, nullptr, false,
        [](const GantryStretch* stretch, void* to) {
            i32* const n = static_cast<i32*>(to);
            *n = std::max(*n, stretch->parts);
        },
        &most);
    return most;
}

TEST(gantry_ladder, of_endless_length_has_a_bounded_number_of_rungs)
{
    const Level level = pair(0, 0, 1e12);
    EXPECT_EQ(most_parts(level.maze), GANTRY_MAXPARTS);
}

TEST(gantry_railing, of_endless_length_has_a_bounded_number_of_spans)
{
    const Level level = pair(1e12, 0, 0);
    EXPECT_EQ(most_parts(level.maze), GANTRY_MAXPARTS);
}

TEST(gantry_railing, of_the_nested_grids_longest_edge_has_all_its_spans)
{
    const Level level = pair(25000, 0, 0);
    EXPECT_EQ(most_parts(level.maze), 5000);
}

TEST(gantry_ladder, to_a_node_that_is_nowhere_has_no_rung)
{
    const Level level = pair(std::numeric_limits<f64>::quiet_NaN(), 0, 1);
    EXPECT_TRUE(bars_of_radius(level.maze, 0.015).empty());
}

// -------- levels

TEST(gantry_levels, lay_the_two_plates_of_an_edge_one_over_the_other)
{
    std::mt19937 random(9);
    std::uniform_real_distribution<f64> part(-3, 3);
    for (i32 i = 0; i < 50; i++) {
        const Level level = pair(4 + part(random), part(random), part(random) / 3, 0.3, 0.2);
        const std::vector<GantryPlate> plates = walkways_of(level.maze);
        ASSERT_EQ(plates.size(), 2U);
        expect_same_plate(plates[0], plates[1]);
    }
    const Level sloped = pair(4, 2, -1, 0, 0.5); // one end without radius
    expect_same_plate(walkways_of(sloped.maze)[0], walkways_of(sloped.maze)[1]);
}

TEST(gantry_levels, make_the_edge_into_a_submaze_from_above_only)
{
    Level level = pair(10, 0, 0);
    Maze* const sub = level.sub(1);
    add_node(sub, 9, 0, 0, 0.25);
    add_node(sub, 11, 0, 0, 0.25);
    Maze_join(sub, 0, 1);
    const std::vector<GantryPlate> above = walkways_of(level.maze);
    ASSERT_EQ(above.size(), 1U);
    expect_corner(above[0].corners[0], -0.5, 0.5, 0, -10, 10);
    // the port has two flat exits, straight on: to its neighbour and out
    expect_corner(above[0].corners[2], 9, -0.25, 0, 180, -5);
    expect_corner(above[0].corners[3], 9, 0.25, 0, 180, 5);
    const std::vector<GantryPlate> inside = walkways_of(sub);
    ASSERT_EQ(inside.size(), 2U);
    expect_corner(inside[1].corners[0], 9, 0.25, 0, 0, 5);
    expect_corner(inside[1].corners[2], 11.25, -0.25, 0, 45, -5);
}

TEST(gantry_levels, give_a_port_the_posts_of_its_way_out_too)
{
    Level level = pair(10, 0, 0);
    Maze* const sub = level.sub(1);
    add_node(sub, 9, 0, 0, 0.25);
    const std::vector<GantryBar> posts = posts_of(sub); // a dead end by its way out alone
    ASSERT_EQ(posts.size(), 2U);
    expect_at(posts[0].start, 9.25, -0.25, 0);
    expect_at(posts[1].start, 9.25, 0.25, 0);
    EXPECT_EQ(bars_of(sub).size(), 4U);
    EXPECT_EQ(balls_of(sub).size(), 2U);
}

TEST(gantry_levels, count_ways_out_where_triangles_are_made)
{
    Level level = pair(10, 0, 0);
    Maze* const sub = level.sub(1);
    add_node(sub, 9, 0, 0, 0.25);
    add_node(sub, 9, 4, 0, 0.25);
    add_node(sub, 9, -4, 0, 0.25);
    Maze_join(sub, 0, 1);
    Maze_join(sub, 0, 2);
    EXPECT_EQ(triangles_of(sub).size(), 3U);
    EXPECT_EQ(walkways_of(sub).size(), 4U);
}

TEST(gantry_levels, make_an_edge_between_sibling_mazes_from_both)
{
    Level level = pair(10, 0, 0);
    Maze* const left = level.sub(0);
    Maze* const right = level.sub(1);
    add_node(left, 1, 0, 0, 0.25);
    add_node(right, 9, 0, 0, 0.5);
    EXPECT_TRUE(walkways_of(level.maze).empty());
    EXPECT_TRUE(bars_of(level.maze).empty());
    EXPECT_TRUE(balls_of(level.maze).empty());
    const std::vector<GantryPlate> from = walkways_of(left);
    ASSERT_EQ(from.size(), 1U); // `left` hangs on the lower node, so its list is called last
    expect_corner(from[0].corners[0], 0.75, 0.25, 0, -5, 5);
    expect_corner(from[0].corners[2], 9.5, -0.5, 0, 170, -10);
    const std::vector<GantryPlate> to = walkways_of(right);
    ASSERT_EQ(to.size(), 1U);
    expect_same_plate(from[0], to[0]);
}

TEST(gantry_levels, build_their_own_table_of_exits_and_none_of_another_level)
{
    Level level = pair(10, 0, 0);
    Maze* const sub = level.sub(1);
    add_node(sub, 9, 0, 0, 0.25);
    walkways_of(level.maze);
    EXPECT_NE(Maze_attachment(level.maze, "EdgeAngleRecs"), nullptr);
    walkways_of(level.maze);
    EXPECT_EQ(level.maze->attachments.count, 1U);
    EXPECT_EQ(sub->attachments.count, 0U);
}

TEST(gantry_levels, leave_out_what_leads_to_a_node_that_does_not_lead_back)
{
    Level level = pair(8, 0, 0);
    level.node(0, 8, 0, 0.5);
    MazeNode* const node = Maze_node(level.maze, 0);
    node->edges[node->nedges] = 2;
    node->edgerec[node->nedges++] = VisitRec_fresh();
    EXPECT_EQ(walkways_of(level.maze).size(), 2U);
    // two sets of four bars with two posts, a dead end at node 1, a corner at node 0
    EXPECT_EQ(bars_of(level.maze).size(), 2 * 6 + 4 + 2U);
    EXPECT_EQ(balls_of(level.maze).size(), 2 * 2 + 2 + 2U);
}

TEST(gantry_levels, make_nothing_of_an_empty_maze_and_of_a_lone_node)
{
    Level level;
    EXPECT_TRUE(bars_of(level.maze).empty());
    level.node(0, 0, 0, 0.5);
    EXPECT_TRUE(bars_of(level.maze).empty());
    EXPECT_TRUE(balls_of(level.maze).empty());
    EXPECT_TRUE(walkways_of(level.maze).empty());
    EXPECT_TRUE(triangles_of(level.maze).empty());
}

// -------- colours

TEST(gantry_colours, of_plates_and_railings_are_those_of_this_directions_edge)
{
    const Level level = pair(8, 0, 0);
    Maze_node(level.maze, 0)->edgerec[0].colour = 0x102030;
    Maze_node(level.maze, 1)->edgerec[0].colour = 0x405060;
    EXPECT_EQ(walkways_of(level.maze)[0].colour, 0x405060U);
    EXPECT_EQ(walkways_of(level.maze)[1].colour, 0x102030U);
    const std::vector<GantryBar> bars = bars_of(level.maze);
    for (i32 i = 10; i < 16; i++) {
        EXPECT_EQ(bars[i].colour, 0x102030U);
    }
    EXPECT_EQ(balls_of(level.maze)[6].colour, 0x102030U);
}

TEST(gantry_colours, of_corner_posts_and_their_tops_and_of_triangles_are_the_nodes)
{
    const Level level = star(3);
    Maze_node(level.maze, 0)->rec.colour = 0x708090;
    EXPECT_EQ(bars_of(level.maze).back().colour, 0x708090U);
    EXPECT_EQ(triangles_of(level.maze)[0].colour, 0x708090U);
    const std::vector<GantryBall> balls = balls_of(level.maze);
    EXPECT_EQ(balls.back().colour, 0x708090U);
}

TEST(gantry_colours, of_ladders_and_their_ends_are_the_edges)
{
    const Level level = pair(0, 0, 3);
    Maze_node(level.maze, 0)->edgerec[0].colour = 0x102030;
    Maze_node(level.maze, 0)->rec.colour = 0x708090;
    EXPECT_EQ(bars_of(level.maze).back().colour, 0x102030U);
    EXPECT_EQ(balls_of(level.maze).back().colour, 0x102030U);
}

TEST(gantry_colours, turn_white_to_a_little_less)
{
    const Level level = star(3, 8);
    Maze_setcolour(level.maze, 0xFFFFFF);
    EXPECT_EQ(walkways_of(level.maze)[0].colour, 0xFEFEFEU);
    EXPECT_EQ(triangles_of(level.maze)[0].colour, 0xFEFEFEU);
    for (const GantryBar& bar : bars_of(level.maze)) {
        EXPECT_EQ(bar.colour, 0xFEFEFEU);
    }
    for (const GantryBall& ball : balls_of(level.maze)) {
        EXPECT_EQ(ball.colour, 0xFEFEFEU);
    }
}

TEST(gantry_colours, tell_the_exits_used_on_edges_inside_a_level_only)
{
    Level level = pair(10, 0, 0);
    Maze* const left = level.sub(0);
    Maze* const right = level.sub(1);
    add_node(left, 1, 0, 0, 0.25);
    add_node(left, -3, 0, 0, 0.25);
    Maze_join(left, 0, 1);
    add_node(right, 9, 0, 0, 0.25);
    left->exitsused = 1; // all of one
    const std::vector<GantryPlate> plates = walkways_of(left);
    ASSERT_EQ(plates.size(), 3U);
    EXPECT_EQ(plates[0].colour, 0x408040U);           // from node 1, inside
    EXPECT_EQ(plates[1].colour, u32{COLOUR_DEFAULT}); // to the sibling
    EXPECT_EQ(plates[2].colour, 0x408040U);
    EXPECT_EQ(bars_of(left).back().colour, 0x408040U); // a post
}
