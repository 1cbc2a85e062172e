#include "tests/stereo_scene.h"

#include <algorithm>
#include <cmath>
#include <string>

// Two white squares that face the viewer: the near one in the upper half of the picture, the far one in
// the lower half; and a third straight on the line of sight.
struct Marker {
    f64 x, y, z; // z below 0 is ahead
};
static const Marker near_marker = {0.3, 0.9, -3.0};
static const Marker far_marker = {-2.0, -12.0, -40.0};
static const f64 focus_distance = 10.0;

static void paint_marker(const Marker& marker)
{
    const f64 half = -0.06 * marker.z;
    glColor3f(1, 1, 1);
    glBegin(GL_QUADS);
    glVertex3d(marker.x - half, marker.y - half, marker.z);
    glVertex3d(marker.x + half, marker.y - half, marker.z);
    glVertex3d(marker.x + half, marker.y + half, marker.z);
    glVertex3d(marker.x - half, marker.y + half, marker.z);
    glEnd();
}

static void paint_two(i32 /*call*/)
{
    paint_marker(near_marker);
    paint_marker(far_marker);
}

// Eye 0 red, eye 1 blue.
static void paint_eyes(i32 call)
{
    flood(call == 0 ? 0xFF0000 : 0x0000FF);
}

// A picture in which no row and no column is like its neighbour, and no eye like the other.
static void paint_patterns(i32 call)
{
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glBegin(GL_QUADS);
    glColor3f(0, 0, call == 0 ? 1.0F : 0.25F);
    glVertex2f(-1, -1);
    glColor3f(1, 0, call == 0 ? 1.0F : 0.25F);
    glVertex2f(1, -1);
    glColor3f(1, 1, call == 0 ? 1.0F : 0.25F);
    glVertex2f(1, 1);
    glColor3f(0, 1, call == 0 ? 1.0F : 0.25F);
    glVertex2f(-1, 1);
    glEnd();
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
}

struct Shape {
    i32 width, height;
};

// A part of the window, rows from the bottom.
struct Part {
    i32 x, y, width, height;
};

// Where an eye's picture is, and how.
static Part eye_part(const Shape& window, i32 mode, i32 eye)
{
    const i32 w = window.width;
    const i32 h = window.height;
    switch (mode) {
    case STEREO_SIDEBYSIDE:
    case STEREO_SCREENS: return {.x = eye * (w / 2), .y = 0, .width = w / 2, .height = h};
    case STEREO_TOPBOTTOM:
    case STEREO_SCREENS_VERTICAL: return {.x = 0, .y = eye * (h / 2), .width = w, .height = h / 2};
    default: return {.x = 0, .y = 0, .width = w, .height = h};
    }
}

// The place of a marker in an eye's picture, worked out from the window's shape alone: a view of 90
// degrees over the central 4:3, eyes apart in view space, and frusta skewed the other way.
struct Place {
    f64 x, y;
};
static Place expected_place(const Shape& window, const StereoView& view, i32 eye,
                            const Marker& marker)
{
    const f64 sides = view.swap != 0 && view.mode < STEREO_RED_CYAN ? -1.0 : 1.0;
    const f64 e = (eye - 0.5) * sides;
    const f64 apart = 1.5 * view.distance * view.depth * window.width / window.height;
    const Part part = eye_part(window, view.mode, eye);
    const bool screens = view.mode == STEREO_SCREENS || view.mode == STEREO_SCREENS_VERTICAL;
    const f64 w = screens ? part.width : window.width;
    const f64 h = screens ? part.height : window.height;
    const f64 m0 = h / w < 0.75 ? h / w / 0.75 : 1.0;
    const f64 m5 = h / w < 0.75 ? 1 / 0.75 : w / h;
    const f64 x = m0 * (marker.x + e * apart) / -marker.z - 2 * e * view.depth;
    const f64 y = m5 * marker.y / -marker.z;
    return {.x = part.x + (x + 1) / 2 * part.width, .y = part.y + (y + 1) / 2 * part.height};
}

// The middle of what is lit in a part of a picture, looking at some bits of the colour.
static Place lit_middle(const Pixels& picture, const Part& part, u32 bits)
{
    f64 left = 1e9;
    f64 right = -1e9;
    f64 bottom = 1e9;
    f64 top = -1e9;
    for (i32 y = part.y; y < part.y + part.height; y++) {
        for (i32 x = part.x; x < part.x + part.width; x++) {
            if ((picture.at(x, y) & bits) != 0) {
                left = std::min(left, static_cast<f64>(x));
                right = std::max(right, x + 1.0);
                bottom = std::min(bottom, static_cast<f64>(y));
                top = std::max(top, y + 1.0);
            }
        }
    }
    return {.x = (left + right) / 2, .y = (bottom + top) / 2};
}

// The bits of the colour in which an eye alone is seen.
static u32 eye_bits(const StereoView& view, i32 eye)
{
    if (view.mode < STEREO_RED_CYAN) {
        return 0xFFFFFF;
    }
    const i32 colour = view.swap != 0 ? 1 - eye : eye;
    return colour == 0 ? 0xFF0000 : 0x00FF00;
}

static std::string told(const Shape& window, const StereoView& view, i32 eye)
{
    return "mode " + std::to_string(view.mode) + " swap " + std::to_string(view.swap) + " depth " +
           std::to_string(view.depth) + " eye " + std::to_string(eye) + " in " +
           std::to_string(window.width) + "x" + std::to_string(window.height);
}

// The near marker is looked for in the upper half of an eye's picture, the far one in the lower.
static void expect_markers(const Shape& window, const StereoView& view, const Pixels& picture)
{
    for (i32 eye = 0; eye < 2; eye++) {
        SCOPED_TRACE(told(window, view, eye));
        const Part whole = eye_part(window, view.mode, eye);
        const i32 half = whole.height / 2;
        const Part lower = {.x = whole.x, .y = whole.y, .width = whole.width, .height = half};
        const Part upper = {
            .x = whole.x, .y = whole.y + half, .width = whole.width, .height = whole.height - half};
        const Place near_place = lit_middle(picture, upper, eye_bits(view, eye));
        const Place far_place = lit_middle(picture, lower, eye_bits(view, eye));
        const Place near_wanted = expected_place(window, view, eye, near_marker);
        const Place far_wanted = expected_place(window, view, eye, far_marker);
        EXPECT_NEAR(near_place.x, near_wanted.x, 0.501);
        EXPECT_NEAR(near_place.y, near_wanted.y, 0.501);
        EXPECT_NEAR(far_place.x, far_wanted.x, 0.501);
        EXPECT_NEAR(far_place.y, far_wanted.y, 0.501);
    }
}

static const Shape shapes[] = {{320, 240}, {320, 180}, {321, 201}, {200, 240}};

static void expect_mode(i32 mode)
{
    for (const Shape& shape : shapes) {
        scripted_begin();
        const StereoWindow window(shape.width, shape.height, paint_two);
        for (const i32 swap : {0, 1}) {
            for (const f64 depth : {0.05, -0.05, 0.11, 0.0}) {
                const StereoView view = {
                    .mode = mode, .swap = swap, .depth = depth, .distance = focus_distance};
                expect_markers(shape, view, draw_stereo(view));
            }
        }
    }
}

TEST(stereo_places, agree_with_the_matrices_in_upper_and_lower_halves)
{
    expect_mode(STEREO_TOPBOTTOM);
}

TEST(stereo_places, agree_with_the_matrices_in_left_and_right_halves)
{
    expect_mode(STEREO_SIDEBYSIDE);
}

TEST(stereo_places, agree_with_the_matrices_on_two_screens_side_by_side)
{
    expect_mode(STEREO_SCREENS);
}

TEST(stereo_places, agree_with_the_matrices_on_two_screens_above_one_another)
{
    expect_mode(STEREO_SCREENS_VERTICAL);
}

TEST(stereo_places, agree_with_the_matrices_in_red_and_cyan)
{
    expect_mode(STEREO_RED_CYAN);
}

TEST(stereo_places, agree_with_the_matrices_in_red_and_green)
{
    expect_mode(STEREO_RED_GREEN);
}

TEST(stereo_places, agree_with_the_matrices_in_magenta_and_green)
{
    expect_mode(STEREO_MAGENTA_GREEN);
}

TEST(stereo_places, without_stereo_are_those_of_one_eye_in_the_middle)
{
    scripted_begin();
    const Shape shape = {320, 240};
    const StereoWindow window(shape.width, shape.height, paint_two);
    const StereoView view = {.mode = 0, .swap = 1, .depth = 0.05, .distance = focus_distance};
    const Pixels picture = draw_stereo(view);
    const StereoView flat = {.mode = 0, .swap = 0, .depth = 0, .distance = focus_distance};
    EXPECT_EQ(scene_calls.size(), 1U);
    expect_markers(shape, flat, picture);
}

// The rows of one eye in an interlaced picture, one under another.
static Pixels eye_rows(const Pixels& picture, i32 eye, i32 windowtop)
{
    Pixels out = {picture.width, 0, {}};
    for (i32 y = picture.height - 1; y >= 0; y--) { // from the bottom
        if (((y + windowtop) & 1) == (eye == 1 ? 0 : 1)) {
            for (i32 x = 0; x < picture.width; x++) {
                const u32 colour = picture.at(x, picture.height - 1 - y);
                out.bytes.push_back(static_cast<u8>(colour >> 16));
                out.bytes.push_back(static_cast<u8>(colour >> 8));
                out.bytes.push_back(static_cast<u8>(colour));
            }
            out.height++;
        }
    }
    return out;
}

// An eye's rows are a picture of half the window's height.
TEST(stereo_places, agree_with_the_matrices_on_the_rows_of_an_eye)
{
    const Shape shape = {320, 240};
    scripted_begin();
    const StereoWindow window(shape.width, shape.height, paint_two);
    for (const i32 swap : {0, 1}) {
        for (const f64 depth : {0.05, -0.05}) {
            const StereoView view = {
                .mode = STEREO_INTERLACE, .swap = swap, .depth = depth, .distance = focus_distance};
            const Pixels picture = draw_stereo(view);
            for (i32 eye = 0; eye < 2; eye++) {
                SCOPED_TRACE(told(shape, view, eye));
                const Pixels rows = eye_rows(picture, eye, 0);
                ASSERT_EQ(rows.height, 120);
                const Place near_place =
                    lit_middle(rows, {.x = 0, .y = 60, .width = 320, .height = 60}, 0xFFFFFF);
                const Place far_place =
                    lit_middle(rows, {.x = 0, .y = 0, .width = 320, .height = 60}, 0xFFFFFF);
                const Place near_wanted = expected_place(shape, view, eye, near_marker);
                const Place far_wanted = expected_place(shape, view, eye, far_marker);
                EXPECT_NEAR(near_place.x, near_wanted.x, 0.501);
                EXPECT_NEAR(near_place.y, near_wanted.y / 2, 0.501);
                EXPECT_NEAR(far_place.x, far_wanted.x, 0.501);
                EXPECT_NEAR(far_place.y, far_wanted.y / 2, 0.501);
            }
        }
    }
}

// What is nearer than the focus and what is farther move apart in opposite ways, and by as much more as
// the depth grows.
TEST(stereo_places, move_the_other_way_with_a_negative_depth)
{
    scripted_begin();
    const StereoWindow window(320, 240, paint_two);
    const Part upper_left = {.x = 0, .y = 120, .width = 160, .height = 120};
    const Part upper_right = {.x = 160, .y = 120, .width = 160, .height = 120};
    const auto apart = [&](f64 depth) {
        const Pixels picture = draw_stereo(
            {.mode = STEREO_SIDEBYSIDE, .swap = 0, .depth = depth, .distance = focus_distance});
        return lit_middle(picture, upper_right, 0xFFFFFF).x - 160 -
               lit_middle(picture, upper_left, 0xFFFFFF).x;
    };
    EXPECT_GT(apart(0.1), 5);
    EXPECT_LT(apart(-0.1), -5);
    EXPECT_NEAR(apart(0.1), -apart(-0.1), 1);
}

// A marker at the focus is at the same place for both eyes, in windows of 4:3 and wider.
TEST(stereo_places, of_both_eyes_agree_at_the_focus)
{
    for (const Shape& shape : {Shape{320, 240}, Shape{320, 180}, Shape{320, 128}}) {
        scripted_begin();
        const StereoWindow window(shape.width, shape.height, [](i32) {
            paint_marker({0, 0, -focus_distance});
        });
        for (const i32 mode : {STEREO_TOPBOTTOM, STEREO_SIDEBYSIDE, STEREO_RED_CYAN,
                               STEREO_RED_GREEN, STEREO_MAGENTA_GREEN}) {
            const StereoView view = {
                .mode = mode, .swap = 0, .depth = 0.2, .distance = focus_distance};
            const Pixels picture = draw_stereo(view);
            for (i32 eye = 0; eye < 2; eye++) {
                SCOPED_TRACE(told(shape, view, eye));
                const Part part = eye_part(shape, mode, eye);
                const Place place = lit_middle(picture, part, eye_bits(view, eye));
                EXPECT_NEAR(place.x, part.x + part.width / 2.0, 0.501);
                EXPECT_NEAR(place.y, part.y + part.height / 2.0, 0.501);
            }
        }
        const Pixels rows = draw_stereo(
            {.mode = STEREO_INTERLACE, .swap = 0, .depth = 0.2, .distance = focus_distance});
        EXPECT_EQ(eye_rows(rows, 0, 0), eye_rows(rows, 1, 0));
    }
}

// The scene moves sideways in view space, however the model-view matrix turns it.
TEST(stereo_places, move_along_the_viewers_own_axis)
{
    scripted_begin();
    const StereoWindow window(320, 240, [](i32) {});
    glLoadIdentity();
    glTranslatef(1, 2, -5);
    glRotatef(50, 0.3F, 1, 0.2F);
    f64 before[16];
    f64 projection[16];
    glGetDoublev(GL_MODELVIEW_MATRIX, before);
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    draw_stereo({.mode = STEREO_TOPBOTTOM, .swap = 0, .depth = 0.1, .distance = 8});
    ASSERT_EQ(scene_calls.size(), 2U);
    for (i32 eye = 0; eye < 2; eye++) {
        const f64 e = eye == 0 ? -0.5 : 0.5;
        const f64 d = e * 8 * 0.75 * (2.0 * 320 * 0.1 / 240);
        for (i32 i = 0; i < 16; i++) {
            EXPECT_NEAR(scene_calls[eye].modelview[i], before[i] + (i == 12 ? d : 0), 1e-5) << i;
            EXPECT_NEAR(scene_calls[eye].projection[i], projection[i] + (i == 8 ? e * 0.2 : 0),
                        1e-6)
                << i;
        }
    }
}

// The first row takes d times the fourth, whatever that holds.
TEST(stereo_places, count_the_fourth_row_of_the_model_view_matrix)
{
    scripted_begin();
    const StereoWindow window(320, 240, [](i32) {});
    const f64 m[16] = {1, 0, 0, 2, 0, 1, 0, 3, 0, 0, 1, 5, 0, 0, 0, 7};
    glLoadMatrixd(m);
    draw_stereo({.mode = STEREO_RED_CYAN, .swap = 1, .depth = 0.1, .distance = 8});
    const f64 d = 0.5 * 8 * 0.75 * (2.0 * 320 * 0.1 / 240);
    ASSERT_EQ(scene_calls.size(), 2U);
    for (i32 column = 0; column < 4; column++) { // swapping leaves the eyes of the coloured modes
        const f64 fourth = m[4 * column + 3];
        EXPECT_NEAR(scene_calls[0].modelview[4 * column], m[4 * column] - d * fourth, 1e-5);
        EXPECT_NEAR(scene_calls[1].modelview[4 * column], m[4 * column] + d * fourth, 1e-5);
    }
}

// Every pixel of a part has one colour.
static void expect_flood(const Pixels& picture, const Part& part, u32 colour)
{
    i32 others = 0;
    for (i32 y = part.y; y < part.y + part.height; y++) {
        for (i32 x = part.x; x < part.x + part.width; x++) {
            others += picture.at(x, y) != colour ? 1 : 0;
        }
    }
    EXPECT_EQ(others, 0) << "of " << part.width * part.height << " pixels are not " << std::hex
                         << colour;
}

TEST(stereo_draw_split, puts_eye_0_below_and_eye_1_above)
{
    scripted_begin();
    const StereoWindow window(100, 80, paint_eyes);
    const Pixels picture =
        draw_stereo({.mode = STEREO_TOPBOTTOM, .swap = 0, .depth = 0.05, .distance = 1});
    expect_flood(picture, {.x = 0, .y = 0, .width = 100, .height = 40}, 0xFF0000);
    expect_flood(picture, {.x = 0, .y = 40, .width = 100, .height = 40}, 0x0000FF);
}

TEST(stereo_draw_split, puts_eye_0_on_the_left_and_eye_1_on_the_right)
{
    scripted_begin();
    const StereoWindow window(100, 80, paint_eyes);
    const Pixels picture =
        draw_stereo({.mode = STEREO_SIDEBYSIDE, .swap = 0, .depth = 0.05, .distance = 1});
    expect_flood(picture, {.x = 0, .y = 0, .width = 50, .height = 80}, 0xFF0000);
    expect_flood(picture, {.x = 50, .y = 0, .width = 50, .height = 80}, 0x0000FF);
}

TEST(stereo_draw_split, leaves_the_odd_row_and_column_dark)
{
    scripted_begin();
    const StereoWindow window(101, 81, paint_eyes);
    const Pixels stacked =
        draw_stereo({.mode = STEREO_TOPBOTTOM, .swap = 0, .depth = 0.05, .distance = 1});
    expect_flood(stacked, {.x = 0, .y = 0, .width = 101, .height = 40}, 0xFF0000);
    expect_flood(stacked, {.x = 0, .y = 40, .width = 101, .height = 40}, 0x0000FF);
    expect_flood(stacked, {.x = 0, .y = 80, .width = 101, .height = 1}, 0);
    const Pixels beside =
        draw_stereo({.mode = STEREO_SIDEBYSIDE, .swap = 0, .depth = 0.05, .distance = 1});
    expect_flood(beside, {.x = 0, .y = 0, .width = 50, .height = 81}, 0xFF0000);
    expect_flood(beside, {.x = 50, .y = 0, .width = 50, .height = 81}, 0x0000FF);
    expect_flood(beside, {.x = 100, .y = 0, .width = 1, .height = 81}, 0);
}

// A part of a picture moved to another place is what that place of the other picture shows.
static i32 differing(const Pixels& one, const Part& part, const Pixels& other, i32 x0, i32 y0)
{
    i32 count = 0;
    for (i32 y = 0; y < part.height; y++) {
        for (i32 x = 0; x < part.width; x++) {
            count += one.at(part.x + x, part.y + y) != other.at(x0 + x, y0 + y) ? 1 : 0;
        }
    }
    return count;
}

TEST(stereo_draw_split, exchanges_what_the_halves_show_by_swapping)
{
    scripted_begin();
    const StereoWindow window(320, 240, paint_two);
    StereoView view = {
        .mode = STEREO_TOPBOTTOM, .swap = 0, .depth = 0.05, .distance = focus_distance};
    const Pixels straight = draw_stereo(view);
    view.swap = 1;
    const Pixels swapped = draw_stereo(view);
    const Part lower = {.x = 0, .y = 0, .width = 320, .height = 120};
    const Part upper = {.x = 0, .y = 120, .width = 320, .height = 120};
    EXPECT_EQ(differing(straight, lower, swapped, 0, 120), 0);
    EXPECT_EQ(differing(straight, upper, swapped, 0, 0), 0);
    EXPECT_GT(differing(straight, lower, swapped, 0, 0), 20);
}

TEST(stereo_draw_split, squeezes_the_windows_picture_into_a_half)
{
    scripted_begin();
    const StereoWindow window(320, 240, [](i32) {});
    f64 projection[16];
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    draw_stereo({.mode = STEREO_SIDEBYSIDE, .swap = 0, .depth = 0.05, .distance = 1});
    ASSERT_EQ(scene_calls.size(), 2U);
    for (const SceneCall& call : scene_calls) {
        EXPECT_EQ(call.width, 320);
        EXPECT_EQ(call.viewport[2], 160);
        EXPECT_EQ(call.projection[0], projection[0]);
        EXPECT_EQ(call.projection[5], projection[5]);
    }
}

TEST(stereo_draw_split, draws_a_mode_below_zero_like_top_and_bottom)
{
    scripted_begin();
    const StereoWindow window(320, 240, paint_two);
    StereoView view = {
        .mode = STEREO_TOPBOTTOM, .swap = 0, .depth = 0.05, .distance = focus_distance};
    const Pixels first = draw_stereo(view);
    for (const i32 mode : {-1, -2, -2147483647 - 1}) {
        view.mode = mode;
        EXPECT_EQ(draw_stereo(view), first) << mode;
    }
}

TEST(stereo_draw, draws_nothing_in_a_mode_above_8)
{
    scripted_begin();
    const StereoWindow window(320, 240, paint_two);
    for (const i32 mode : {9, 10, 2147483647}) {
        const Pixels picture =
            draw_stereo({.mode = mode, .swap = 0, .depth = 0.05, .distance = focus_distance});
        EXPECT_EQ(scene_calls.size(), 0U);
        expect_flood(picture, {.x = 0, .y = 0, .width = 320, .height = 240}, 0);
    }
}

// The row of the halves' picture, from the bottom, that a row of the window shows, from the top.
static i32 source_row(i32 y, i32 height, i32 windowtop)
{
    const i32 eye = (y + windowtop) % 2 == 0 ? 1 : 0;
    return eye * height / 2 + (height - 1 - y) / 2;
}

static void expect_interlaced(const Shape& shape, i32 windowtop)
{
    SCOPED_TRACE(std::to_string(shape.width) + "x" + std::to_string(shape.height) + " at " +
                 std::to_string(windowtop));
    scripted_begin();
    fullscreen_y = windowtop;
    const StereoWindow window(shape.width, shape.height, paint_patterns);
    StereoView view = {.mode = STEREO_TOPBOTTOM, .swap = 0, .depth = 0.05, .distance = 1};
    const Pixels halves = draw_stereo(view);
    view.mode = STEREO_INTERLACE;
    const Pixels rows = draw_stereo(view);
    for (i32 y = shape.height - 1; y >= 0; y--) {
        const Part row = {.x = 0, .y = shape.height - 1 - y, .width = shape.width, .height = 1};
        EXPECT_EQ(differing(rows, row, halves, 0, source_row(y, shape.height, std::abs(windowtop))),
                  0)
            << "row " << y;
    }
}

TEST(stereo_interlace, shows_each_row_of_the_halves_at_its_place)
{
    for (const i32 windowtop : {0, 1}) {
        expect_interlaced({64, 48}, windowtop);
        expect_interlaced({100, 76}, windowtop);
        expect_interlaced({128, 64}, windowtop);
    }
}

TEST(stereo_interlace, maps_the_rows_of_odd_heights_by_the_same_numbers)
{
    for (const i32 windowtop : {0, 1}) {
        expect_interlaced({64, 47}, windowtop);
        expect_interlaced({37, 33}, windowtop);
        expect_interlaced({65, 1}, windowtop);
        expect_interlaced({65, 3}, windowtop);
    }
}

TEST(stereo_interlace, counts_rows_of_the_screen_above_the_first_display_too)
{
    expect_interlaced({64, 48}, -1);
    expect_interlaced({64, 48}, -2);
    expect_interlaced({64, 48}, 1001);
}

// The rows of a picture, in no order.
static std::vector<std::string> sorted_rows(const Pixels& picture)
{
    std::vector<std::string> rows;
    const auto stride = static_cast<long>(picture.bytes.size()) / picture.height;
    for (i32 y = 0; y < picture.height; y++) {
        const auto begin = picture.bytes.begin() + y * stride;
        rows.emplace_back(begin, begin + stride);
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

TEST(stereo_interlace, uses_each_row_of_each_half_once)
{
    for (const i32 windowtop : {0, 1}) {
        scripted_begin();
        fullscreen_y = windowtop;
        const StereoWindow window(64, 48, paint_patterns);
        StereoView view = {.mode = STEREO_TOPBOTTOM, .swap = 0, .depth = 0.05, .distance = 1};
        const std::vector<std::string> halves = sorted_rows(draw_stereo(view));
        EXPECT_EQ(std::adjacent_find(halves.begin(), halves.end()), halves.end());
        view.mode = STEREO_INTERLACE;
        EXPECT_EQ(sorted_rows(draw_stereo(view)), halves);
    }
}

// Even rows of the screen show eye 1, odd ones eye 0, wherever the window is.
static void expect_eyes_on_rows(const Pixels& picture, i32 windowtop)
{
    for (i32 y = picture.height - 1; y >= 0; y--) {
        const u32 wanted = (y + windowtop) % 2 == 0 ? 0x0000FF : 0xFF0000;
        expect_flood(picture,
                     {.x = 0, .y = picture.height - 1 - y, .width = picture.width, .height = 1},
                     wanted);
    }
}

TEST(stereo_interlace, keeps_the_eyes_on_the_rows_of_the_screen_when_the_window_moves)
{
    scripted_begin();
    scripted_add({.frame = 2, .kind = SCRIPT_MOVE, .a = 5, .b = 1});
    scripted_add({.frame = 3, .kind = SCRIPT_MOVE, .a = 6, .b = 12});
    const StereoWindow window(90, 60, paint_eyes);
    const StereoView view = {.mode = STEREO_INTERLACE, .swap = 0, .depth = 0.05, .distance = 1};
    for (const i32 top : {0, 1, 12}) {
        gfx_pump();
        EXPECT_EQ(platform->windowrect().top, top);
        expect_eyes_on_rows(draw_stereo(view), top);
    }
}

// The window's edge is that of its frame.
TEST(stereo_interlace, counts_rows_from_the_frame_of_a_window)
{
    scripted_begin();
    windowed = true;
    scripted_cursor(500, 301);
    const StereoWindow window(90, 60, paint_eyes);
    const i32 top = platform->windowrect().top;
    EXPECT_EQ(top % 2, 1);
    expect_eyes_on_rows(
        draw_stereo({.mode = STEREO_INTERLACE, .swap = 0, .depth = 0.05, .distance = 1}), top);
}

static PlatformRect untold()
{
    return {};
}

TEST(stereo_interlace, begins_with_an_even_row_where_the_place_is_not_told)
{
    static Platform silent = platform_scripted;
    silent.windowrect = untold;
    scripted_begin();
    platform_use(&silent);
    fullscreen_y = 1;
    const StereoWindow window(90, 60, paint_eyes);
    expect_eyes_on_rows(
        draw_stereo({.mode = STEREO_INTERLACE, .swap = 0, .depth = 0.05, .distance = 1}), 0);
}

TEST(stereo_draw_two_screens, shows_eye_0_on_the_left_screen_and_eye_1_on_the_right)
{
    scripted_begin();
    const StereoWindow window(101, 80, paint_eyes);
    const Pixels picture =
        draw_stereo({.mode = STEREO_SCREENS, .swap = 0, .depth = 0.05, .distance = 1});
    expect_flood(picture, {.x = 0, .y = 0, .width = 50, .height = 80}, 0xFF0000);
    expect_flood(picture, {.x = 50, .y = 0, .width = 50, .height = 80}, 0x0000FF);
    expect_flood(picture, {.x = 100, .y = 0, .width = 1, .height = 80}, 0);
}

TEST(stereo_draw_two_screens, shows_eye_0_on_the_lower_screen_and_eye_1_on_the_upper)
{
    scripted_begin();
    const StereoWindow window(100, 81, paint_eyes);
    const Pixels picture =
        draw_stereo({.mode = STEREO_SCREENS_VERTICAL, .swap = 0, .depth = 0.05, .distance = 1});
    expect_flood(picture, {.x = 0, .y = 0, .width = 100, .height = 40}, 0xFF0000);
    expect_flood(picture, {.x = 0, .y = 40, .width = 100, .height = 40}, 0x0000FF);
    expect_flood(picture, {.x = 0, .y = 80, .width = 100, .height = 1}, 0);
}

TEST(stereo_draw_two_screens, lets_the_scene_see_the_size_of_one_screen)
{
    scripted_begin();
    const StereoWindow window(200, 120, [](i32) {});
    draw_stereo({.mode = STEREO_SCREENS, .swap = 0, .depth = 0.05, .distance = 1});
    ASSERT_EQ(scene_calls.size(), 2U);
    for (const SceneCall& call : scene_calls) {
        EXPECT_EQ(call.width, 100);
        EXPECT_EQ(call.height, 120);
    }
    draw_stereo({.mode = STEREO_SCREENS_VERTICAL, .swap = 0, .depth = 0.05, .distance = 1});
    ASSERT_EQ(scene_calls.size(), 2U);
    for (const SceneCall& call : scene_calls) {
        EXPECT_EQ(call.width, 200);
        EXPECT_EQ(call.height, 60);
    }
    EXPECT_EQ(gfx_width, 200);
    EXPECT_EQ(gfx_height, 120);
}

// The tangent of half the view's angle that the scene was drawn with, on screens of 4:3.
static f64 drawn_tangent(f32 angle)
{
    gfx_set_fov(angle, 0.1F, 1000.0F);
    draw_stereo({.mode = STEREO_SCREENS, .swap = 0, .depth = 0.05, .distance = 1});
    EXPECT_EQ(scene_calls.size(), 2U);
    EXPECT_EQ(scene_calls[0].projection[0], scene_calls[1].projection[0]);
    return 1 / scene_calls[0].projection[0];
}

TEST(stereo_draw_two_screens, cuts_the_angle_to_whole_degrees)
{
    scripted_begin();
    const StereoWindow window(320, 120, [](i32) {});
    const f64 degree = std::acos(-1.0) / 180;
    EXPECT_NEAR(drawn_tangent(85.714F), std::tan(42.5 * degree), 1e-6);
    EXPECT_NEAR(drawn_tangent(94.999F), std::tan(47.0 * degree), 1e-6);
    EXPECT_NEAR(drawn_tangent(60.001F), std::tan(30.0 * degree), 1e-6);
}

TEST(stereo_draw_two_screens, keeps_an_angle_below_one_degree_at_one)
{
    scripted_begin();
    const StereoWindow window(320, 120, [](i32) {});
    const f64 half_degree = std::acos(-1.0) / 360;
    EXPECT_NEAR(drawn_tangent(0.4F), std::tan(half_degree), 1e-8);
    EXPECT_NEAR(drawn_tangent(-0.4F), -std::tan(half_degree), 1e-8);
}

TEST(stereo_draw_two_screens, keeps_ninety_degrees_in_windows_of_any_size)
{
    scripted_begin();
    const StereoWindow window(64, 48, [](i32) {});
    for (const Shape& shape : {Shape{320, 200}, Shape{3840, 1080}, Shape{1920, 2160},
                               Shape{1366, 768}, Shape{1001, 333}}) {
        gfx_resize(shape.width, shape.height);
        scene_calls.clear();
        stereo_draw_two_screens(scene_test, nullptr, 0, 0, 0, 0);
        ASSERT_EQ(scene_calls.size(), 2U);
        const f64 w = shape.width / 2;
        const f64 h = shape.height;
        EXPECT_NEAR(scene_calls[0].projection[0], h / w < 0.75 ? h / w / 0.75 : 1.0, 1e-5);
        EXPECT_NEAR(scene_calls[0].projection[5], h / w < 0.75 ? 1 / 0.75 : w / h, 1e-5);
    }
    gfx_resize(64, 48);
}

TEST(stereo_draw_two_screens, leaves_the_skew_of_the_eye_to_the_fitted_projection)
{
    scripted_begin();
    const StereoWindow window(320, 120, [](i32) {});
    draw_stereo({.mode = STEREO_SCREENS, .swap = 0, .depth = 0.07, .distance = 1});
    ASSERT_EQ(scene_calls.size(), 2U);
    EXPECT_NEAR(scene_calls[0].projection[8], -0.07, 1e-7);
    EXPECT_NEAR(scene_calls[1].projection[8], 0.07, 1e-7);
}

// A scene of one colour in each eye, seen through both filters.
static u32 mixed(i32 mode, i32 swap)
{
    const Pixels picture = draw_stereo({.mode = mode, .swap = swap, .depth = 0, .distance = 1});
    expect_flood(picture, {.x = 0, .y = 0, .width = gfx_width, .height = gfx_height},
                 picture.at(0, 0));
    return picture.at(gfx_width / 2, gfx_height / 2);
}

TEST(stereo_draw_coloured, filters_each_eye_by_its_colour_and_adds_them)
{
    scripted_begin();
    const StereoWindow window(80, 60, [](i32 call) { flood(call == 0 ? 0x204060 : 0x8090A0); });
    EXPECT_EQ(mixed(STEREO_RED_CYAN, 0), 0x2090A0U);
    EXPECT_EQ(mixed(STEREO_RED_GREEN, 0), 0x209000U);
    EXPECT_EQ(mixed(STEREO_MAGENTA_GREEN, 0), 0x209060U);
}

TEST(stereo_draw_coloured, exchanges_the_colours_by_swapping)
{
    scripted_begin();
    const StereoWindow window(80, 60, [](i32 call) { flood(call == 0 ? 0x204060 : 0x8090A0); });
    EXPECT_EQ(mixed(STEREO_RED_CYAN, 1), 0x804060U);
    EXPECT_EQ(mixed(STEREO_RED_GREEN, 1), 0x804000U);
    EXPECT_EQ(mixed(STEREO_MAGENTA_GREEN, 1), 0x8040A0U);
}

TEST(stereo_draw_coloured, stops_at_full_brightness)
{
    scripted_begin();
    const StereoWindow window(80, 60, [](i32) { flood(0xFFFFFF); });
    scene_calls.clear();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    stereo_draw_coloured(scene_test, nullptr, 0xC08000, 0xC04020, 0, 0);
    EXPECT_EQ(take_pixels().at(40, 30), 0xFFC020U);
}

// The second eye begins with a clear window, and so does what is drawn after both.
TEST(stereo_draw_coloured, clears_colour_and_depth_between_the_eyes)
{
    scripted_begin();
    const StereoWindow window(80, 60, [](i32 call) {
        glDisable(GL_LIGHTING);
        if (call == 0) {
            flood(0xFFFFFF); // at the depth of 0.5
        } else {
            paint_marker({0, 0, -30}); // behind it
        }
    });
    const Pixels picture =
        draw_stereo({.mode = STEREO_RED_CYAN, .swap = 0, .depth = 0, .distance = 1});
    EXPECT_EQ(picture.at(40, 30), 0xFFFFFFU);
    EXPECT_EQ(picture.at(2, 2), 0xFF0000U);
    GLfloat depth = 0;
    glReadPixels(40, 30, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(depth, 1.0F);
}

static GLint integer(GLenum name)
{
    GLint value[4] = {};
    glGetIntegerv(name, value);
    return value[0];
}

// What a head-up display finds: the whole window, its own matrices, nothing left switched on.
static void expect_state_as_before(const f64 projection[16], const f64 modelview[16])
{
    f64 m[16];
    i32 view[4];
    glGetDoublev(GL_PROJECTION_MATRIX, m);
    EXPECT_TRUE(std::equal(m, m + 16, projection));
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    EXPECT_TRUE(std::equal(m, m + 16, modelview));
    glGetIntegerv(GL_VIEWPORT, view);
    EXPECT_TRUE(view[0] == 0 && view[1] == 0 && view[2] == 161 && view[3] == 121);
    EXPECT_TRUE(gfx_width == 161 && gfx_height == 121);
    EXPECT_EQ(integer(GL_MATRIX_MODE), GL_MODELVIEW);
    EXPECT_EQ(integer(GL_MODELVIEW_STACK_DEPTH), 1);
    EXPECT_EQ(integer(GL_PROJECTION_STACK_DEPTH), 1);
    EXPECT_EQ(integer(GL_ATTRIB_STACK_DEPTH), 0);
    EXPECT_EQ(integer(GL_DEPTH_TEST), 1);
    EXPECT_EQ(integer(GL_DEPTH_WRITEMASK), 1);
    EXPECT_EQ(integer(GL_BLEND), 0);
    EXPECT_EQ(integer(GL_TEXTURE_2D), 0);
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
    EXPECT_EQ(integer(GL_LIGHTING), 0);
    EXPECT_EQ(integer(GL_POLYGON_MODE), GL_LINE);
    EXPECT_EQ(integer(GL_LINE_WIDTH), 3);
}

TEST(stereo_draw, leaves_matrices_viewport_and_switches_as_a_head_up_display_needs_them)
{
    scripted_begin();
    const StereoWindow window(161, 121, paint_two);
    gfx_set_fov(77, 0.1F, 1000);
    glTranslatef(0.1F, 0.2F, 0.3F);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glLineWidth(3);
    f64 projection[16];
    f64 modelview[16];
    glGetDoublev(GL_PROJECTION_MATRIX, projection);
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    for (i32 mode = -1; mode <= STEREO_MODES; mode++) {
        SCOPED_TRACE(mode);
        draw_stereo({.mode = mode, .swap = 0, .depth = 0.05, .distance = focus_distance});
        expect_state_as_before(projection, modelview);
    }
}

// The scene itself may leave a projection behind, as that of its last depth slice.
TEST(stereo_draw, gives_each_eye_the_projection_that_it_found)
{
    scripted_begin();
    const StereoWindow window(160, 120, [](i32) {
        glMatrixMode(GL_PROJECTION);
        glScalef(2, 2, 1);
        glMatrixMode(GL_MODELVIEW);
    });
    f64 before[16];
    glGetDoublev(GL_PROJECTION_MATRIX, before);
    for (i32 mode = 1; mode < STEREO_MODES; mode++) {
        SCOPED_TRACE(mode);
        draw_stereo({.mode = mode, .swap = 0, .depth = 0, .distance = 1});
        ASSERT_EQ(scene_calls.size(), 2U);
        EXPECT_EQ(scene_calls[0].projection[10], scene_calls[1].projection[10]);
        EXPECT_EQ(scene_calls[0].projection[0], scene_calls[1].projection[0]);
        f64 after[16];
        glGetDoublev(GL_PROJECTION_MATRIX, after);
        EXPECT_TRUE(std::equal(after, after + 16, before));
    }
}

TEST(stereo_draw, leaves_a_window_on_which_an_overlay_is_drawn_once)
{
    scripted_begin();
    const StereoWindow window(160, 120, [](i32) {});
    for (i32 mode = -1; mode <= STEREO_MODES; mode++) {
        SCOPED_TRACE(mode);
        draw_stereo({.mode = mode, .swap = 0, .depth = 0.05, .distance = 1});
        gfx_overlay_begin();
        glColor3f(1, 1, 0);
        glRectf(100, 90, 150, 110);
        gfx_overlay_end();
        const Pixels picture = take_pixels();
        expect_flood(picture, {.x = 100, .y = 10, .width = 50, .height = 20}, 0xFFFF00);
        i32 lit = 0;
        for (i32 i = 0; i < 160 * 120; i++) {
            lit += picture.at(i % 160, i / 160) != 0 ? 1 : 0;
        }
        EXPECT_EQ(lit, 50 * 20);
    }
}

// With nothing between the eyes, red and cyan add up to the plain picture.
TEST(stereo_draw, fills_what_it_composes_while_the_scene_is_drawn_in_lines)
{
    scripted_begin();
    const StereoWindow window(161, 121, paint_two);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    const Pixels plain = draw_stereo({.mode = STEREO_NONE, .swap = 0, .depth = 0, .distance = 1});
    const Pixels coloured =
        draw_stereo({.mode = STEREO_RED_CYAN, .swap = 0, .depth = 0, .distance = 1});
    EXPECT_EQ(coloured, plain);
    i32 lit = 0;
    for (i32 i = 0; i < 161 * 121; i++) {
        lit += plain.at(i % 161, i / 161) != 0 ? 1 : 0;
    }
    EXPECT_GT(lit, 40);
    EXPECT_LT(lit, 120); // the outlines alone
}

TEST(stereo_draw, composes_rows_of_one_pixel_whatever_lines_the_scene_draws)
{
    scripted_begin();
    const StereoWindow window(90, 60, [](i32 call) {
        flood(call == 0 ? 0xFF0000 : 0x0000FF);
        glLineWidth(5);
        glEnable(GL_LINE_SMOOTH);
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE);
    });
    expect_eyes_on_rows(
        draw_stereo({.mode = STEREO_INTERLACE, .swap = 0, .depth = 0.05, .distance = 1}), 0);
}

// The file may name any depth, and F5 and F6 know no limits.
TEST(stereo_draw, gives_the_scene_numbers_whatever_depth_and_distance_are)
{
    scripted_begin();
    const StereoWindow window(64, 48, paint_two);
    for (const f64 depth : {1e308, -1e308, 1e30, 1e-300}) {
        for (const f64 distance : {1e308, -1e30, 0.0, 5.0}) {
            for (i32 mode = 0; mode < STEREO_MODES; mode++) {
                draw_stereo({.mode = mode, .swap = 0, .depth = depth, .distance = distance});
                for (const SceneCall& call : scene_calls) {
                    for (i32 i = 0; i < 16; i++) {
                        ASSERT_TRUE(std::isfinite(call.projection[i])) << mode << " " << depth;
                        ASSERT_TRUE(std::isfinite(call.modelview[i])) << mode << " " << distance;
                    }
                }
            }
        }
    }
}

TEST(stereo_draw, makes_no_error_in_the_smallest_windows)
{
    for (const Shape& shape : {Shape{1, 1}, Shape{2, 1}, Shape{1, 2}, Shape{3, 3}}) {
        scripted_begin();
        const StereoWindow window(shape.width, shape.height, paint_two);
        for (const f32 angle : {90.0F, 0.3F, 185.0F}) {
            gfx_set_fov(angle, 0.1F, 1000);
            for (i32 mode = 0; mode < STEREO_MODES; mode++) {
                SCOPED_TRACE(mode);
                draw_stereo({.mode = mode, .swap = 0, .depth = 0.05, .distance = 1});
                for (const SceneCall& call : scene_calls) {
                    for (i32 i = 0; i < 16; i++) {
                        ASSERT_TRUE(std::isfinite(call.projection[i])) << angle;
                    }
                }
            }
        }
    }
}
