// Pictures of discs and ribbons against the formulas, worked out anew for each pixel.
#include "scene/colours.h"
#include "tests/agecolour.h"
#include "tests/scene_picture.h"
#include "tests/vec.h"

static f64 ramp(f64 x, f64 a, f64 w)
{
    return std::fmin(std::fmax(0.5 + (x - a) / w, 0.0), 1.0);
}

// Colour of the dark core and of the light rim of an element.
static f64 core_of(f64 colour)
{
    return std::fmax(colour - 0.25, 0.0);
}

static f64 rim_of(f64 colour)
{
    return std::fmin(colour + 0.25, 1.0);
}

static void expect_colour(Rgb got, f64 r, f64 g, f64 b)
{
    const f64 step = 1.5 / 255;
    EXPECT_NEAR(got.r, r, step);
    EXPECT_NEAR(got.g, g, step);
    EXPECT_NEAR(got.b, b, step);
}

// The grey of the default colour and its core and rim.
static const f64 grey = 128.0 / 255;

// Where the ray through the middle of a pixel meets the plane through `on` square to `normal`; the
// eye is the origin and looks along -z.
static Vec hit(const ViewRec* view, i32 x, i32 y, Vec on, Vec normal)
{
    const Vec ray = {((x + 0.5) / gfx_width * 2 - 1) * view->tanx,
                     ((y + 0.5) / gfx_height * 2 - 1) * view->tany, -1};
    return (dot(on, normal) / dot(ray, normal)) * ray;
}

// A derivative as a block of two by two pixels has it.
template <typename F> static f64 slope(F f, i32 x, i32 y)
{
    const i32 left = x & ~1;
    const i32 low = y & ~1;
    return std::hypot(f(left + 1, y) - f(left, y), f(x, low + 1) - f(x, low));
}

static f64 disc_light(const ViewRec* view, i32 x, i32 y, Vec c, f64 r, f64 colour)
{
    const Vec p = hit(view, x, y, c, c);
    const f64 d = std::sqrt(dot(p - c, p - c));
    const f64 rpix = slope([&](i32 i, i32 j) { return hit(view, i, j, c, c).x; }, x, y);
    const f64 margin = 0.0071 * std::sqrt(dot(c, c)); // of the quad, at its corners
    if (p.z > 0 || d >= r + std::fmin(0.5 * rpix, margin)) {
        return 0;
    }
    const f64 cl = std::pow(core_of(colour), 2.2);
    const f64 ch = std::pow(rim_of(colour), 2.2);
    return cl + (ch - cl) * ramp(d, 0.6 * r, rpix) - ch * ramp(d, r, rpix);
}

// Compares in linear light, where a step of the dark end weighs little.
template <typename Light> static void expect_picture(const Picture& picture, Light light)
{
    i32 lit = 0;
    for (i32 y = 0; y < picture.height; y++) {
        for (i32 x = 0; x < picture.width; x++) {
            const f64 expected = light(x, y);
            lit += expected > 0 ? 1 : 0;
            ASSERT_NEAR(std::pow(picture.at(x, y).r, 2.2), expected, 0.012) << x << " " << y;
        }
    }
    EXPECT_GT(lit, 100);
}

static void open_small()
{
    picture_open();
    gfx_resize(200, 150);
}

TEST(disc, follows_its_formula_in_every_pixel)
{
    open_small();
    World world;
    const Vec c = {1.7, -0.9, -6};
    world.node(c.x, c.y, c.z, 1.3);
    const Picture picture = world.draw();
    const ViewRec* const view = &world.game.view;
    expect_picture(picture, [&](i32 x, i32 y) { return disc_light(view, x, y, c, 1.3, grey); });
}

TEST(disc, follows_its_formula_at_the_edge_of_the_view_where_it_is_foreshortened)
{
    open_small();
    World world;
    const Vec c = {-5.5, 3.8, -6};
    world.node(c.x, c.y, c.z, 1.3);
    const Picture picture = world.draw();
    const ViewRec* const view = &world.game.view;
    expect_picture(picture, [&](i32 x, i32 y) { return disc_light(view, x, y, c, 1.3, grey); });
}

TEST(disc, has_a_dark_core_a_light_rim_and_a_thin_outline_at_projected_places)
{
    open_small();
    World world;
    world.node(2, 1, -10, 2, 0x808080);
    const Picture picture = world.draw();
    const f64 c[3] = {2, 1, -10};
    const Place middle = picture_place(&world.game, c);
    const i32 y = static_cast<i32>(middle.y);
    const f64 pixels = 100 / 10.0 * 2; // of the radius
    const auto across = [&](f64 part) {
        return picture.at(static_cast<i32>(middle.x + part * pixels), y);
    };
    expect_colour(across(0), core_of(grey), core_of(grey), core_of(grey));
    expect_colour(across(0.5), core_of(grey), core_of(grey), core_of(grey));
    expect_colour(across(0.8), rim_of(grey), rim_of(grey), rim_of(grey));
    expect_colour(across(-0.8), rim_of(grey), rim_of(grey), rim_of(grey));
    expect_colour(across(1.3), 0, 0, 0);
}

TEST(disc, ends_in_an_outline_that_is_darker_than_the_rim_over_a_brighter_ground)
{
    open_small();
    World world;
    world.node(0.05, 0, -10, 2); // its edge goes through the middle of pixel 120
    finish_world(world.root);
    picture_begin(&world.game);
    glClearColor(1, 1, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    scene_draw(&world.game);
    glClearColor(0, 0, 0, 0);
    const Picture picture = picture_take();
    f64 darkest = 1;
    for (i32 x = 115; x < 126; x++) {
        darkest = std::fmin(darkest, picture.at(x, 75).r);
    }
    EXPECT_NEAR(darkest, rim_of(grey) * std::pow(0.5, 1 / 2.2), 0.03);
    EXPECT_EQ(picture.at(126, 75).r, 1);
}

TEST(disc, keeps_its_radius_when_seen_along_the_x_axis)
{
    open_small();
    World world;
    const f64 eye[3] = {10, 0, 0};
    const f64 target[3] = {0, 0, 0};
    world.node(0, 0, 0, 2);
    look_at(&world.game, eye, target);
    const Picture picture = world.draw();
    EXPECT_NEAR(picture.painted(), 3.14159 * 400, 40);
    expect_colour(picture.at(100, 75), core_of(grey), core_of(grey), core_of(grey));
    expect_colour(picture.at(117, 75), rim_of(grey), rim_of(grey), rim_of(grey));
}

TEST(disc, is_as_large_beside_the_x_axis_as_on_it)
{
    open_small();
    for (const f64 off : {1e-9, 1e-7, 1e-6, 1e-5, 1e-3}) {
        World world;
        const f64 eye[3] = {10, off, 0};
        const f64 target[3] = {0, 0, 0};
        world.node(0, 0, 0, 2);
        look_at(&world.game, eye, target);
        EXPECT_NEAR(world.draw().painted(), 3.14159 * 400, 60) << off;
    }
}

TEST(disc, faces_the_camera_where_the_eye_is_no_number)
{
    open_small();
    World world;
    world.node(2, 1, -10, 2);
    const Picture expected = world.draw();
    EXPECT_GT(expected.painted(), 0);
    world.game.campos[0] = std::nan(""); // the camera stands at 0 then
    EXPECT_EQ(world.draw().bytes, expected.bytes);
}

TEST(disc, draws_nothing_around_an_eye_on_its_centre)
{
    open_small();
    World world;
    world.node(0, 0, 0, 2);
    EXPECT_EQ(world.draw().painted(), 0);
}

// Draws one slice's discs and returns the depth in the middle of the picture, and right of it.
static void depths(World* world, f64 x, f32* middle, f32* beside)
{
    finish_world(world->root);
    picture_begin(&world->game);
    scene_plot(&world->game);
    glReadPixels(100, 75, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, middle);
    glReadPixels(100 + static_cast<i32>(x), 75, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, beside);
}

static f64 depth_of(f64 z)
{
    f64 p[16];
    glGetDoublev(GL_PROJECTION_MATRIX, p);
    return ((p[10] * z + p[14]) / -z + 1) * 0.5;
}

TEST(disc, has_the_depth_of_a_core_that_stands_forward_and_a_rim_that_stands_back)
{
    open_small();
    World world;
    world.node(0, 0, -10, 2);
    f32 core = 0;
    f32 rim = 0;
    depths(&world, 16, &core, &rim);
    EXPECT_NEAR(core, depth_of(-10 + 3), 1e-5);
    EXPECT_NEAR(rim, depth_of(-10 - 2), 1e-5);
}

TEST(disc, paints_its_edge_at_the_far_end_of_the_depth)
{
    open_small();
    World world;
    world.node(0.05, 0, -10, 2); // its edge goes through the middle of pixel 120
    f32 core = 0;
    f32 edge = 0;
    depths(&world, 20, &core, &edge);
    EXPECT_LT(core, 1);
    EXPECT_EQ(edge, 1);
    EXPECT_FALSE(picture_take().black(120, 75));
}

TEST(disc, lets_what_stands_behind_the_rim_pass_before_its_own)
{
    open_small();
    World world;
    world.node(0, 0, -10, 2, 0xC00000);
    world.node(1.6, 0, -11, 0.3, 0x0000C0); // behind the disc's plane, but before its rim's depth
    const Picture picture = world.draw();
    const f64 c[3] = {1.6, 0, -11};
    const Place place = picture_place(&world.game, c);
    EXPECT_GT(picture.at(static_cast<i32>(place.x), 75).b, 0.4);
}

TEST(disc, is_the_plain_colour_where_nothing_was_walked)
{
    open_small();
    for (const i32 showtrail : {0, 1}) {
        World world;
        world.game.showtrail = showtrail;
        world.game.time = 100;
        world.node(0, 0, -10, 2);
        expect_colour(world.draw().at(100, 75), core_of(grey), core_of(grey), core_of(grey));
    }
}

// A ribbon of one radius, alone in view.
static void add_ribbon(World* world, Vec a, Vec b, f64 radius)
{
    const i32 from = world->node(a.x, a.y, a.z, radius);
    const i32 to = world->node(b.x, b.y, b.z, radius);
    Maze_join(world->root, from, to);
}

TEST(band, follows_its_formula_between_its_nodes)
{
    open_small();
    World world;
    const Vec a = {-6, -2, -8};
    const Vec b = {7, 3, -12};
    add_ribbon(&world, a, b, 0.7);
    const Picture picture = world.draw();
    const ViewRec* const view = &world.game.view;
    const Vec across = unit(cross(a - b, -1 * a));
    const Vec normal = cross(a - b, across);
    const auto offset = [&](i32 x, i32 y) { return dot(hit(view, x, y, a, normal) - a, across); };
    i32 lit = 0;
    for (i32 y = 0; y < picture.height; y++) {
        for (i32 x = 0; x < picture.width; x++) {
            const Vec p = hit(view, x, y, a, normal);
            const f64 along = dot(p - a, b - a) / dot(b - a, b - a);
            if (along < 0.25 || along > 0.75) { // there discs lie over it
                continue;
            }
            const f64 r = offset(x, y);
            const f64 rpix = slope(offset, x, y);
            const f64 cl = std::pow(core_of(grey), 2.2);
            const f64 ch = std::pow(rim_of(grey), 2.2);
            const f64 light = std::fabs(r) < 0.7 + 0.5 * rpix
                                  ? ch * ramp(r, -0.7, rpix) + (cl - ch) * ramp(r, -0.42, rpix) +
                                        (ch - cl) * ramp(r, 0.42, rpix) - ch * ramp(r, 0.7, rpix)
                                  : 0;
            lit += light > 0 ? 1 : 0;
            ASSERT_NEAR(std::pow(picture.at(x, y).r, 2.2), light, 0.012) << x << " " << y;
        }
    }
    EXPECT_GT(lit, 300);
}

TEST(band, has_a_dark_core_and_light_rims)
{
    open_small();
    World world;
    add_ribbon(&world, {-20, 0, -10}, {20, 0, -10}, 2);
    const Picture picture = world.draw();
    expect_colour(picture.at(100, 75), core_of(grey), core_of(grey), core_of(grey));
    expect_colour(picture.at(100, 75 + 16), rim_of(grey), rim_of(grey), rim_of(grey));
    expect_colour(picture.at(100, 75 - 16), rim_of(grey), rim_of(grey), rim_of(grey));
    expect_colour(picture.at(100, 75 + 24), 0, 0, 0);
}

TEST(band, has_the_depth_of_a_core_that_stands_forward_and_rims_that_stand_back)
{
    open_small();
    World world;
    add_ribbon(&world, {0, -20, -10}, {0, 20, -10}, 2);
    f32 core = 0;
    f32 rim = 0;
    depths(&world, 16, &core, &rim);
    EXPECT_NEAR(core, depth_of(-10 + 2), 1e-5);
    EXPECT_NEAR(rim, depth_of(-10 - 2), 1e-5);
}

TEST(band, paints_its_edges_at_the_far_end_of_the_depth)
{
    open_small();
    World world;
    add_ribbon(&world, {0.05, -20, -10}, {0.05, 20, -10}, 2);
    f32 core = 0;
    f32 edge = 0;
    depths(&world, 20, &core, &edge);
    EXPECT_LT(core, 1);
    EXPECT_EQ(edge, 1);
    EXPECT_FALSE(picture_take().black(120, 75));
}

TEST(band, tapers_from_one_radius_to_the_other)
{
    open_small();
    World world;
    const i32 thick = world.node(-20, 0, -10, 3);
    const i32 thin = world.node(20, 0, -10, 1);
    Maze_join(world.root, thick, thin);
    const Picture picture = world.draw();
    const auto height = [&](i32 x) {
        i32 n = 0;
        for (i32 y = 0; y < picture.height; y++) {
            n += picture.black(x, y) ? 0 : 1;
        }
        return n;
    };
    EXPECT_NEAR(height(100), 40, 2);
    EXPECT_NEAR(height(50), 45, 2);
    EXPECT_NEAR(height(150), 35, 2);
}

TEST(band, takes_the_record_of_each_direction_on_a_side_of_its_own)
{
    open_small();
    World world;
    add_ribbon(&world, {-20, 0, -10}, {20, 0, -10}, 2);
    Maze_node(world.root, 1)->edgerec[0].colour = 0xFF0000;
    Maze_node(world.root, 2)->edgerec[0].colour = 0xFF0000;
    const Picture picture = world.draw();
    expect_colour(picture.at(100, 75), 0.75, 0, 0);
    expect_colour(picture.at(100, 75 + 16), 1, 0.25, 0.25);
}

TEST(band, vanishes_for_an_eye_on_its_axis)
{
    open_small();
    World world;
    add_ribbon(&world, {0, 0, -10}, {0, 0, -50}, 0.01); // discs of half a pixel
    const Picture picture = world.draw();
    EXPECT_LT(picture.painted(), 5);
}

TEST(band, of_no_length_draws_nothing)
{
    open_small();
    World world;
    const i32 a = world.node(0, 0, -10, 2);
    const i32 b = world.node(0, 0, -10, 2);
    const i32 discs = world.draw().painted();
    Maze_join(world.root, a, b);
    EXPECT_EQ(world.draw().painted(), discs);
}

static const f64 dark = 0x20 / 255.0;

// Colour of a disc of dark grey whose node was walked `age` seconds before `time`.
static Rgb walked_disc(f64 age, f64 time, i32 showtrail, i32 x)
{
    World world;
    world.game.showtrail = showtrail;
    world.game.time = time;
    const i32 node = world.node(0, 0, -10, 2, 0x202020);
    Maze_node(world.root, node)->rec.walked = time - age;
    return world.draw().at(x, 75);
}

static void expect_age(Rgb core, Rgb rim, f64 age)
{
    const AgeLight light = age_light(age);
    const f64* const c = light.c;
    expect_colour(core, core_of(dark + c[0]), core_of(dark + c[1]), core_of(dark + c[2]));
    expect_colour(rim, rim_of(dark + c[0]), rim_of(dark + c[1]), rim_of(dark + c[2]));
}

TEST(age_colour, is_added_to_a_disc_as_the_formula_has_it_for_every_decade)
{
    open_small();
    for (const f64 age : {0.0, 0.005, 0.05, 0.5, 5.0, 50.0, 500.0, 5e3, 5e4, 5e5, 5e6, 5e7}) {
        SCOPED_TRACE(age);
        expect_age(walked_disc(age, age, 1, 100), walked_disc(age, age, 1, 116), age);
    }
}

TEST(age_colour, is_added_to_a_ribbon_as_the_formula_has_it)
{
    open_small();
    for (const f64 age : {0.05, 5.0, 500.0}) {
        SCOPED_TRACE(age);
        World world;
        world.game.showtrail = 1;
        world.game.time = 1000;
        add_ribbon(&world, {-20, 0, -10}, {20, 0, -10}, 2);
        for (i32 i = 1; i < 3; i++) {
            VisitRec* const rec = Maze_node(world.root, i)->edgerec;
            rec->colour = 0x202020;
            rec->walked = 1000 - age;
        }
        const Picture picture = world.draw();
        expect_age(picture.at(100, 75), picture.at(100, 75 + 16), age);
    }
}

TEST(age_colour, survives_the_list_unclamped_at_a_clock_of_a_million_seconds)
{
    open_small();
    for (const f64 age : {0.0, 5.0, 500.0}) {
        SCOPED_TRACE(age);
        expect_age(walked_disc(age, 1e6, 1, 100), walked_disc(age, 1e6, 1, 116), age);
    }
}

TEST(age_colour, is_not_added_without_showtrail)
{
    open_small();
    const f64 c = core_of(dark);
    expect_colour(walked_disc(5, 1000, 0, 100), c, c, c);
}

TEST(age_colour, ages_without_a_new_list)
{
    open_small();
    World world;
    world.game.showtrail = 1;
    world.game.time = 10;
    const i32 node = world.node(0, 0, -10, 2, 0x202020);
    Maze_node(world.root, node)->rec.walked = 9.95;
    const Rgb fresh = world.draw().at(100, 75);
    const void* const lists = Maze_attachment(world.root, "lists");
    world.game.time = 510 - 0.05;
    const Rgb old = picture_draw(&world.game).at(100, 75);
    EXPECT_EQ(Maze_attachment(world.root, "lists"), lists);
    EXPECT_NEAR(fresh.g, core_of(dark + age_light(0.05).c[1]), 0.006);
    EXPECT_NEAR(old.g, core_of(dark + age_light(500).c[1]), 0.006);
}

TEST(cursor, is_a_white_disc_where_the_player_is_seen)
{
    open_small();
    for (const i32 showtrail : {0, 1}) {
        World world;
        world.game.showtrail = showtrail;
        world.game.time = 12345;
        world.game.pos.node = world.node(0, 0, -10, 2, 0x000000);
        const Picture picture = world.draw();
        expect_colour(picture.at(100, 75), 0.75, 0.75, 0.75);
        expect_colour(picture.at(116, 75), 1, 1, 1);
    }
}

TEST(cursor, slides_with_the_step_and_takes_a_radius_between)
{
    open_small();
    World world;
    const i32 a = world.node(-4, 0, -10, 1, 0x000000);
    const i32 b = world.node(4, 0, -10, 2, 0x000000);
    Maze_join(world.root, a, b);
    world.game.pos.node = a;
    world.game.step[0] = 4;
    const Picture picture = world.draw();
    expect_colour(picture.at(100, 75), 0.75, 0.75, 0.75);
    expect_colour(picture.at(107, 75), 0.75, 0.75, 0.75); // its core reaches to 0.6 of 1.5
    expect_colour(picture.at(111, 75), core_of(grey), core_of(grey), core_of(grey)); // the ribbon
}

TEST(exit_colours, show_on_the_discs_and_ribbons_of_a_submaze)
{
    open_small();
    World world;
    world.game.showexits = 1;
    const i32 holder = world.node(0, 0, -10, 3);
    for (i32 i = 0; i < 3; i++) {
        Maze_join(world.root, holder, world.node(-100, 100 * i, -40, 0.1));
    }
    Maze* const sub = add_sub(world.root, holder);
    add_node(sub, -4, 0, -10, 1);
    add_node(sub, 4, 0, -10, 1);
    add_node(sub, 0, 20, -10, 1);
    Maze_join(sub, 0, 1);
    const struct {
        u32 used;
        f64 r, g, b;
    } table[] = {{0, grey, grey, grey},
                 {2, 0xC0 / 255.0, 0xA0 / 255.0, 0x40 / 255.0},
                 {5, 0x80 / 255.0, 0xC0 / 255.0, 0x40 / 255.0},
                 {7, 0x40 / 255.0, 0x80 / 255.0, 0x40 / 255.0}};
    for (const auto& row : table) {
        SCOPED_TRACE(row.used);
        sub->exitsused = row.used;
        const Picture picture = world.draw();
        expect_colour(picture.at(60, 75), core_of(row.r), core_of(row.g), core_of(row.b));
        expect_colour(picture.at(100, 75), core_of(row.r), core_of(row.g), core_of(row.b));
        expect_colour(picture.at(60, 75 + 8), rim_of(row.r), rim_of(row.g), rim_of(row.b));
    }
}
