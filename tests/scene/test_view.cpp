#include "tests/scene_picture.h"

static void expect_product(const f64 expected[16], const f64 got[16])
{
    for (i32 i = 0; i < 16; i++) {
        EXPECT_NEAR(expected[i], got[i], 1e-5) << i;
    }
}

// A game whose camera is turned and moved to an odd place.
static MazeGame odd_game()
{
    MazeGame game = {};
    MazeGame_setup(&game);
    const f64 eye[3] = {3.25, -7.5, 11.125};
    const f64 target[3] = {-4, 2, 1};
    look_at(&game, eye, target);
    return game;
}

TEST(ViewRec_get, takes_both_matrices_the_viewport_and_the_width_of_the_window)
{
    picture_open();
    gfx_resize(200, 150);
    MazeGame game = odd_game();
    picture_begin(&game);
    glViewport(10, 20, 100, 120);
    f64 modelview[16];
    f64 p[16];
    glGetDoublev(GL_MODELVIEW_MATRIX, modelview);
    glGetDoublev(GL_PROJECTION_MATRIX, p);
    ViewRec view;
    ViewRec_get(&view);
    expect_product(modelview, view.modelview);
    EXPECT_DOUBLE_EQ(view.tanx, 1 / p[0]);
    EXPECT_DOUBLE_EQ(view.tany, 1 / p[5]);
    EXPECT_DOUBLE_EQ(view.pixelscale, 100 * p[0]);
    EXPECT_DOUBLE_EQ(view.secx, std::sqrt(1 / (p[0] * p[0]) + 1) * p[0]);
    EXPECT_DOUBLE_EQ(view.secy, std::sqrt(1 / (p[5] * p[5]) + 1) * p[5]);
    EXPECT_DOUBLE_EQ(view.near, p[14] / (p[10] - 1));
    EXPECT_DOUBLE_EQ(view.far, p[14] / (p[10] + 1));
    EXPECT_EQ(view.viewport[0], 10);
    EXPECT_EQ(view.viewport[1], 110);
    EXPECT_EQ(view.viewport[2], 20);
    EXPECT_EQ(view.viewport[3], 140);
    EXPECT_DOUBLE_EQ(view.pixelsize, 2 / (100 * p[0]));
    MazeGame_free(&game);
}

TEST(ViewRec_get, finds_the_eye_where_the_camera_was_put)
{
    picture_open();
    MazeGame game = odd_game();
    picture_begin(&game);
    ViewRec view;
    ViewRec_get(&view);
    for (i32 i = 0; i < 3; i++) {
        EXPECT_NEAR(view.eye[i], game.campos[i], 1e-5);
    }
    MazeGame_free(&game);
}

TEST(ViewRec_get, projects_a_point_by_its_clip_rows_to_where_it_is_painted)
{
    picture_open();
    gfx_resize(200, 150);
    World world;
    world.node(6, -3, -20, 0.6);
    const Picture picture = world.draw();
    const ViewRec* view = &world.game.view;
    const f64 p[4] = {6, -3, -20, 1};
    f64 clip[4] = {};
    for (i32 row = 0; row < 4; row++) {
        for (i32 k = 0; k < 4; k++) {
            clip[row] += view->clip[row][k] * p[k];
        }
    }
    const i32 x = static_cast<i32>((clip[0] / clip[3] + 1) * 100);
    const i32 y = static_cast<i32>((clip[1] / clip[3] + 1) * 75);
    EXPECT_FALSE(picture.black(x, y));
    EXPECT_TRUE(picture.black(x + 6, y));
    EXPECT_TRUE(picture.black(x, y + 6));
}

TEST(ViewRec_get, doubles_the_size_of_a_pixel_in_a_viewport_of_half_the_width)
{
    picture_open();
    gfx_resize(200, 150);
    ViewRec whole;
    ViewRec_get(&whole);
    glViewport(0, 0, 100, 150);
    ViewRec half;
    ViewRec_get(&half);
    EXPECT_DOUBLE_EQ(half.pixelsize, 2 * whole.pixelsize);
    EXPECT_DOUBLE_EQ(half.pixelscale, whole.pixelscale);
}

TEST(ViewRec_get, keeps_the_last_view_in_a_window_without_width)
{
    picture_open();
    gfx_resize(200, 150);
    ViewRec last;
    ViewRec_get(&last);
    ViewRec view = last;
    gfx_resize(0, 150);
    ViewRec_get(&view);
    EXPECT_EQ(std::memcmp(&view, &last, sizeof view), 0);
    EXPECT_TRUE(std::isfinite(view.tany) && std::isfinite(view.pixelsize));
    gfx_resize(200, 150);
}

TEST(ViewRec_get, is_installed_as_what_the_game_record_captures_by)
{
    picture_open();
    EXPECT_EQ(viewrec_capture, ViewRec_get);
}

TEST(MazeGame_applyview, multiplies_the_rotation_and_the_way_back_from_the_eye)
{
    picture_open();
    MazeGame game = odd_game();
    glLoadIdentity();
    MazeGame_applyview(&game);
    const f64* o = game.orient;
    const f64* e = game.campos;
    f64 expected[16] = {};
    for (i32 row = 0; row < 3; row++) {
        for (i32 column = 0; column < 3; column++) {
            expected[column * 4 + row] = o[row * 3 + column];
        }
        expected[12 + row] = -(o[row * 3] * e[0] + o[row * 3 + 1] * e[1] + o[row * 3 + 2] * e[2]);
    }
    expected[15] = 1;
    expect_product(expected, game.view.modelview);
    MazeGame_free(&game);
}

TEST(MazeGame_applyview, keeps_what_was_loaded_before_on_its_left)
{
    picture_open();
    MazeGame game = odd_game();
    glLoadIdentity();
    glTranslated(100, 200, 300);
    MazeGame_applyview(&game);
    f64 moved[16];
    std::memcpy(moved, game.view.modelview, sizeof moved);
    glLoadIdentity();
    MazeGame_applyview(&game);
    EXPECT_NEAR(moved[12], game.view.modelview[12] + 100, 1e-4);
    EXPECT_NEAR(moved[13], game.view.modelview[13] + 200, 1e-4);
    EXPECT_NEAR(moved[14], game.view.modelview[14] + 300, 1e-4);
    glLoadIdentity();
    MazeGame_free(&game);
}

TEST(MazeGame_applyview, rounds_the_eye_to_single_precision)
{
    picture_open();
    MazeGame game = {};
    MazeGame_setup(&game);
    game.campos[0] = 1e7 + 0.3;
    glLoadIdentity();
    MazeGame_applyview(&game);
    EXPECT_EQ(game.view.eye[0], 1e7);
    MazeGame_free(&game);
}

TEST(MazeGame_applyview, holds_the_view_finite_whatever_the_eye)
{
    picture_open();
    for (const f64 bad : {HUGE_VAL, -HUGE_VAL, std::nan(""), 1e300, -1e39}) {
        MazeGame game = odd_game();
        game.campos[0] = bad;
        game.campos[2] = -bad;
        glLoadIdentity();
        MazeGame_applyview(&game);
        for (i32 i = 0; i < 16; i++) {
            EXPECT_TRUE(std::isfinite(game.view.modelview[i])) << bad;
        }
        for (i32 i = 0; i < 3; i++) {
            EXPECT_TRUE(std::isfinite(game.view.eye[i])) << bad;
        }
        MazeGame_free(&game);
    }
    glLoadIdentity();
}
