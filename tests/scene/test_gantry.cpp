// Gantries as they are drawn: what reaches OpenGL, and pictures against the formulas.
#include "gfx/offscreen.h"
#include "gfx/textures.h"
#include "model/pos.h"
#include "scene/gantry.h"
#include "scene/light.h"
#include "tests/fakes/gl_count.h"
#include "tests/gantries.h"
#include "tests/scene_picture.h"

#include <algorithm>
#include <limits>
#include <numbers>

// -------- what is emitted

static std::vector<GlVertex> emitted(void (*routine)(Maze*), Maze* maze)
{
    gl_count.forward = false;
    gl_count.record = true;
    gl_count.vertices.clear();
    gl_count.kinds.clear();
    routine(maze);
    gl_count.forward = true;
    gl_count.record = false;
    EXPECT_EQ(gl_count.openbatches, 0);
    return gl_count.vertices;
}

TEST(gantry_walkways, emits_a_batch_of_quads_and_one_of_triangles)
{
    Walks walks;
    walks.crossing();
    const std::vector<GlVertex> v = emitted(gantry_walkways, walks.root);
    EXPECT_EQ(v.size(), 6U * 4 + 3U * 3);
    EXPECT_EQ(gl_count.kinds, (std::vector<GLenum>{GL_QUADS, GL_TRIANGLES}));
}

TEST(gantry_walkways, gives_each_corner_colour_normal_place_and_texture)
{
    Walks walks;
    walks.arm(0, 3, 0, 2);
    Maze_node(walks.root, 0)->edgerec[0].colour = 0xFF8000;
    const std::vector<GlVertex> v = emitted(gantry_walkways, walks.root);
    const GantryPlate plate = walkways_of(walks.root)[1];
    ASSERT_EQ(v.size(), 8U);
    for (i32 i = 0; i < 4; i++) {
        const GlVertex& got = v[4 + i];
        for (i32 k = 0; k < 3; k++) {
            EXPECT_EQ(got.pos[k], static_cast<f32>(plate.corners[i].pos[k]));
            EXPECT_EQ(got.normal[k], static_cast<f32>(plate.normal[k]));
        }
        EXPECT_EQ(got.tex[0], static_cast<f32>(plate.corners[i].tex[0]));
        EXPECT_EQ(got.tex[1], static_cast<f32>(plate.corners[i].tex[1]));
        EXPECT_EQ(got.tex[2], static_cast<f32>(plate.angle));
        EXPECT_EQ(got.colour[0], 1);
        EXPECT_NEAR(got.colour[1], 128.0 / 255, 1e-6);
        EXPECT_EQ(got.colour[2], 0);
        EXPECT_EQ(got.colour[3], 1);
    }
}

TEST(gantry_walkways, leaves_out_a_plate_to_a_place_that_cant_be_drawn)
{
    for (const f64 far : {1e300, std::numeric_limits<f64>::infinity()}) {
        Walks walks;
        walks.arm(0, far, 0, 0);
        walks.arm(0, 0, 4, 0);
        for (const GlVertex& v : emitted(gantry_walkways, walks.root)) {
            EXPECT_TRUE(std::isfinite(v.pos[0] + v.normal[0] + v.tex[0] + v.tex[2]));
        }
        walks.draw();
    }
}

TEST(gantry_railings, are_a_quad_a_bar)
{
    Walks walks;
    walks.arm(0, 3, 0, 4);
    EXPECT_EQ(emitted(gantry_railings, walks.root).size(), 4 * bars_of(walks.root).size());
    EXPECT_EQ(gl_count.kinds, std::vector<GLenum>{GL_QUADS});
}

TEST(gantry_railballs, are_a_quad_a_ball)
{
    Walks walks;
    walks.arm(0, 3, 0, 4);
    EXPECT_EQ(emitted(gantry_railballs, walks.root).size(), 4U * 8);
    EXPECT_EQ(gl_count.kinds, std::vector<GLenum>{GL_QUADS});
}

// -------- the tile

static const i32 tile = GANTRY_TEXSIZE;

static std::vector<u8> image_of(u32 name)
{
    std::vector<u8> bytes(static_cast<size_t>(tile) * tile * 4);
    glBindTexture(GL_TEXTURE_2D, name);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
    return bytes;
}

// The two textures, made anew.
struct Tiles {
    std::vector<u8> tex, tnorm;

    Tiles()
    {
        Walks walks;
        remake(&walks);
    }
    explicit Tiles(Walks* walks)
    {
        remake(walks);
    }
    void remake(Walks* walks)
    {
        gantry_tex = 0;
        gantry_tnorm = 0;
        walks->draw();
        tex = image_of(gantry_tex);
        tnorm = image_of(gantry_tnorm);
    }
};

// One sample: red, green, blue, alpha; and whether single precision may see it otherwise.
struct Sample {
    f64 c[4];
    bool doubtful;
};

static Sample tile_colour(f64 x, f64 y, i32 tn)
{
    const f64 pi2 = 2 * std::numbers::pi;
    const f64 a1 = 2 * pi2 * x;
    const f64 a2 = pi2 * (x + y);
    const f64 a3 = pi2 * (x - y);
    const f64 h = std::sin(a1) + std::sin(a2) + std::sin(a3);
    const bool doubtful = std::fabs(h + 0.3) < 1e-4;
    if (h < -0.3) {
        return tn == 0 ? Sample{{1, 1, 1, 0}, doubtful} : Sample{{0, 0, 1, 1}, doubtful};
    }
    if (tn == 0) {
        return {{1, 1, 1, 1}, doubtful};
    }
    const f64 slope = 3 * std::sqrt(h + 0.3);
    const f64 hdx = (std::cos(a1) + 0.5 * std::cos(a2) + 0.5 * std::cos(a3)) / slope;
    const f64 hdy = (0.866 * std::cos(a2) - 0.866 * std::cos(a3)) / slope;
    const f64 l = std::sqrt(hdx * hdx + hdy * hdy + 1);
    return {{0.5 - 0.5 * hdx / l, 0.5 - 0.5 * hdy / l, 0.5 + 0.5 / l, 1}, doubtful};
}

// The mean of a hundred samples of a texel, which begin in its middle.
static void tile_texel(f64 mean[4], f64* doubt, i32 i, i32 j, i32 tn)
{
    const f64 d = 1.0 / tile;
    *doubt = 0;
    std::fill(mean, mean + 4, 0.0);
    for (i32 y = 0; y < 10; y++) {
        for (i32 x = 0; x < 10; x++) {
            const Sample s = tile_colour((i + 0.5) * d + d * (x + y / 10.0) / 10,
                                         (j + 0.5) * d + d * (y - x / 10.0) / 10, tn);
            for (i32 k = 0; k < 4; k++) {
                mean[k] += s.c[k] / 100;
            }
            *doubt += s.doubtful ? 0.01 : 0;
        }
    }
}

static void expect_tile(const std::vector<u8>& image, i32 tn)
{
    i32 holes = 0;
    i32 edges = 0;
    for (i32 n = 0; n < tile * tile; n += 37) {
        const i32 i = n % tile;
        const i32 j = n / tile;
        f64 mean[4];
        f64 doubt;
        tile_texel(mean, &doubt, i, j, tn);
        const u8* const got = &image[static_cast<size_t>(n) * 4];
        const f64 step = 1.0 / 255 + doubt;
        holes += mean[3] == 0 ? 1 : 0;
        edges += mean[3] > 0 && mean[3] < 1 ? 1 : 0;
        ASSERT_NEAR(got[3] / 255.0, mean[3], step) << i << " " << j;
        if (mean[3] > doubt) { // what is not drawn is black
            for (i32 k = 0; k < 3; k++) {
                ASSERT_NEAR(got[k] / 255.0, mean[k], step) << i << " " << j << " " << k;
            }
        }
    }
    EXPECT_EQ(holes > 2000, tn == 0); // of 7085
    EXPECT_EQ(edges > 20, tn == 0);
}

TEST(hextile, follows_its_formula_in_colour_and_in_normals)
{
    const Tiles tiles;
    expect_tile(tiles.tex, 0);
    expect_tile(tiles.tnorm, 1);
}

TEST(hextile, is_the_same_while_polygons_are_drawn_as_lines_in_a_tiny_window)
{
    const Tiles tiles;
    Walks walks;
    gfx_resize(50, 40);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    const Tiles lines(&walks);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    EXPECT_TRUE(lines.tex == tiles.tex);
    EXPECT_TRUE(lines.tnorm == tiles.tnorm);
}

static i32 difference(const std::vector<u8>& a, const std::vector<u8>& b)
{
    i32 most = 0;
    for (size_t i = 0; i < a.size(); i++) {
        most = std::max(most, std::abs(a[i] - b[i]));
    }
    return most;
}

TEST(hextile, is_the_same_without_framebuffer_objects_and_without_alpha_in_the_window)
{
    const Tiles tiles;
    Walks walks;
    scripted_add({1, SCRIPT_RESIZE, 600, 560});
    gfx_pump();
    ASSERT_EQ(gfx_height, 560);
    GLint alphabits = -1;
    glGetIntegerv(GL_ALPHA_BITS, &alphabits);
    ASSERT_EQ(alphabits, 0);
    have_framebuffers = 0;
    const Tiles back(&walks);
    have_framebuffers = -1;
    EXPECT_LE(difference(back.tex, tiles.tex), 1);
    EXPECT_LE(difference(back.tnorm, tiles.tnorm), 1);
    expect_tile(back.tex, 0);
}

TEST(hextile, has_mipmaps_whose_last_is_the_mean_of_the_plate)
{
    const Tiles tiles;
    u8 mean[4];
    glBindTexture(GL_TEXTURE_2D, gantry_tex);
    glGetTexImage(GL_TEXTURE_2D, 9, GL_RGBA, GL_UNSIGNED_BYTE, mean);
    f64 sum = 0;
    for (size_t i = 3; i < tiles.tex.size(); i += 4) {
        sum += tiles.tex[i];
    }
    EXPECT_NEAR(mean[3], sum / tile / tile, 3);
    EXPECT_GT(mean[3], 128); // a far plate is iron rather than hole
}

TEST(hextile, is_made_once)
{
    const Tiles tiles;
    const u32 before[2] = {gantry_tex, gantry_tnorm};
    Walks walks;
    walks.crossing();
    walks.draw();
    EXPECT_EQ(gantry_tex, before[0]);
    EXPECT_EQ(gantry_tnorm, before[1]);
}

// -------- plates against the formulas

struct Texel {
    f64 c[4];
};

// Linear filtering of the whole image, repeating.
static Texel sample(const std::vector<u8>& image, f64 u, f64 v)
{
    const f64 x = u * tile - 0.5;
    const f64 y = v * tile - 0.5;
    const i32 i = static_cast<i32>(std::floor(x));
    const i32 j = static_cast<i32>(std::floor(y));
    const f64 fx = x - std::floor(x);
    const f64 fy = y - std::floor(y);
    Texel out = {};
    for (i32 n = 0; n < 4; n++) {
        const size_t s = static_cast<size_t>((i + n % 2) & (tile - 1));
        const size_t t = static_cast<size_t>((j + n / 2) & (tile - 1));
        const f64 weight = (n % 2 != 0 ? fx : 1 - fx) * (n / 2 != 0 ? fy : 1 - fy);
        for (size_t k = 0; k < 4; k++) {
            out.c[k] += weight * image[(t * tile + s) * 4 + k] / 255.0;
        }
    }
    return out;
}

// The daylight in double precision.
struct Daylight {
    f64 csun[3], csky[3];
    Vec nsun;

    explicit Daylight(f64 time)
    {
        LightRec light;
        light_compute(time, &light);
        std::copy(light.sunrow[0], light.sunrow[0] + 3, csun);
        std::copy(light.csky, light.csky + 3, csky);
        nsun = {light.nsun[0], light.nsun[1], light.nsun[2]};
    }
};

// Light that arrives, by the formulas.
static void light_at(f64 out[3], Vec normal, Vec at, const Daylight& light, Vec lamp, f64 strength)
{
    const Vec ld = lamp - at;
    const f64 l = length(ld);
    const f64 glow = strength * std::max(0.1, dot(normal, ld) / l) / l;
    const f64 up = std::acos(std::clamp(normal.z, -1.0, 1.0));
    const f64 wa = std::exp(std::min(0.0, 0.2 * (at.z + 5)));
    const f64 water[3] = {wa * wa * wa, wa * wa, wa};
    for (i32 k = 0; k < 3; k++) {
        const f64 above = light.csun[k] * std::max(0.0, dot(normal, light.nsun)) +
                          light.csky[k] * (std::numbers::pi - up) / std::numbers::pi;
        out[k] = glow + above * water[k];
    }
}

// The texture's axes in the world.
static Vec bent(const GantryPlate& plate, const f64 c[4])
{
    const Vec nv = vec(plate.normal);
    i32 e = 0;
    for (i32 i = 1; i < 3; i++) {
        e = std::fabs(plate.normal[i]) > std::fabs(plate.normal[e]) + 1e-4 ? i : e;
    }
    f64 th[3] = {};
    th[(e + 1) % 3] = std::cos(plate.angle);
    th[(e + 2) % 3] = std::sin(plate.angle);
    const f64 k = -dot(vec(th), nv) / plate.normal[e];
    const f64 u = 1 / std::sqrt(k * k + 1);
    f64 first[3];
    for (i32 i = 0; i < 3; i++) {
        first[i] = u * th[i] + (i == e ? k * u : 0);
    }
    const Vec along = vec(first);
    return (2 * c[0] - 1) * along + (2 * c[1] - 1) * cross(nv, along) + (2 * c[2] - 1) * nv;
}

// What the ray through a pixel meets of a plate, in the coordinates of its corners 0, 1 and last.
struct Hit {
    Vec at;
    f64 u, v;
    f64 depth; // along the view
};

static Hit hit(const MazeGame* game, const GantryPlate& plate, i32 x, i32 y)
{
    const GantryCorner* const c = plate.corners;
    const GantryCorner& last = c[plate.ncorners - 1];
    const f64 px = ((x + 0.5) / gfx_width * 2 - 1) * game->view.tanx;
    const f64 py = ((y + 0.5) / gfx_height * 2 - 1) * game->view.tany;
    const Vec ray = px * vec(game->orient) + py * vec(game->orient + 3) - vec(game->orient + 6);
    const Vec p = vec(c[0].pos);
    const Vec a = vec(c[1].pos) - p;
    const Vec b = vec(last.pos) - p;
    const Vec n = cross(a, b);
    const Vec eye = vec(game->campos);
    const f64 t = dot(p - eye, n) / dot(ray, n);
    const Vec at = eye + t * ray;
    const f64 s = dot(cross(at - p, b), n) / dot(n, n);
    const f64 r = dot(cross(a, at - p), n) / dot(n, n);
    return {at, c[0].tex[0] + s * (c[1].tex[0] - c[0].tex[0]) + r * (last.tex[0] - c[0].tex[0]),
            c[0].tex[1] + s * (c[1].tex[1] - c[0].tex[1]) + r * (last.tex[1] - c[0].tex[1]), t};
}

static f64 fogged(f64 c, f64 z, i32 k, const Daylight& light)
{
    const f64 p = std::exp((0.5 + 0.1 * k) * z / 3000);
    return p * c + (1 - p) * (0.3 * light.csky[k] + 0.5 * light.csun[k]);
}

// What a pixel shows of a plate in the default grey over a black ground.
struct Shown {
    f64 c[3];
    f64 alpha;
};

static Shown shown(const GantryPlate& plate, const Tiles& tiles, const Hit& at, f64 side,
                   const Daylight& light, Vec lamp)
{
    const Texel texel = sample(tiles.tex, at.u, at.v);
    Shown out = {{}, texel.c[3]};
    f64 lit[3];
    light_at(lit, side * bent(plate, sample(tiles.tnorm, at.u, at.v).c), at.at, light, lamp,
             light_on != 0 ? 5 : 0);
    const f64 z = -at.depth - (out.alpha < 0.5 ? 1e6 : 0);
    for (i32 k = 0; k < 3; k++) {
        const f64 c = fogged(128.0 / 255 * lit[k] * texel.c[k], z, k, light);
        out.c[k] = std::clamp(c, 0.0, 1.0) * out.alpha;
    }
    return out;
}

// The least and the greatest of what a pixel may show, if its place on the texture is known to a
// tenth of a texel.
static void shown_range(Shown range[2], const GantryPlate& plate, const Tiles& tiles, Hit at,
                        f64 side, const Daylight& light, Vec lamp)
{
    const Hit middle = at;
    for (i32 n = 0; n < 9; n++) {
        at.u = middle.u + 0.1 / tile * (n % 3 - 1);
        at.v = middle.v + 0.1 / tile * (n / 3 - 1);
        const Shown now = shown(plate, tiles, at, side, light, lamp);
        range[0] = n == 0 ? now : range[0];
        range[1] = n == 0 ? now : range[1];
        for (i32 k = 0; k < 3; k++) {
            range[0].c[k] = std::min(range[0].c[k], now.c[k]);
            range[1].c[k] = std::max(range[1].c[k], now.c[k]);
        }
    }
}

// Draws what lies in the middle of the picture, a single plate seen so near that a texel has many
// pixels, and compares all pixels with the formulas. `side` is -1 from below.
static void expect_plate(Walks* walks, const GantryPlate& plate, f64 side)
{
    gfx_set_fov(0.6F, 0.1F, 1000);
    const Tiles tiles(walks);
    const Picture picture = walks->draw();
    const Daylight light(walks->game.time);
    f64 lamp[3];
    MazeGame_viewpos(lamp, &walks->game);
    lamp[2] += 1;
    i32 iron = 0;
    i32 holes = 0;
    i32 level = 0;
    for (i32 n = 0; n < picture.width * picture.height; n++) {
        const i32 x = n % picture.width;
        const i32 y = n / picture.width;
        Shown range[2];
        shown_range(range, plate, tiles, hit(&walks->game, plate, x, y), side, light, vec(lamp));
        const Rgb got = picture.at(x, y);
        const f64 seen[3] = {got.r, got.g, got.b};
        for (i32 k = 0; k < 3; k++) {
            // the driver filters bytes in bytes, which shows where the texture is steep
            const f64 steep = range[1].c[k] - range[0].c[k];
            const f64 step = (steep < 0.5 / 255 ? 2.001 : 3) / 255 + 4 * steep;
            ASSERT_GT(seen[k], range[0].c[k] - step) << x << " " << y << " " << k;
            ASSERT_LT(seen[k], range[1].c[k] + step) << x << " " << y << " " << k;
            level += steep < 0.5 / 255 ? 1 : 0;
        }
        iron += range[0].alpha == 1 ? 1 : 0;
        holes += range[0].alpha == 0 ? 1 : 0;
    }
    EXPECT_GT(iron, 2000);
    EXPECT_GT(holes, 2000);
    EXPECT_GT(level, 10000); // of 57600: there the bounds are two steps of a byte
    gantry_tex = 0;
    gantry_tnorm = 0;
}

// A place near the middle of a plate that lies on the edge of a hole.
static Vec edge_of(const GantryPlate& plate)
{
    const GantryCorner& first = plate.corners[0];
    const GantryCorner& last = plate.corners[plate.ncorners - 1];
    const GantryCorner& beside = plate.corners[1];
    const auto at = [&](f64 s, i32 k) { // of the texture
        return first.tex[k] + 0.4 * (beside.tex[k] - first.tex[k]) +
               s * (last.tex[k] - first.tex[k]);
    };
    f64 s = 0.4;
    while (tile_colour(at(s, 0), at(s, 1), 0).c[3] == 0) { // out of the hole
        s += 1e-5;
    }
    while (tile_colour(at(s, 0), at(s, 1), 0).c[3] == 1) { // and up to the next one
        s += 1e-5;
    }
    const Vec p = vec(first.pos);
    return p + 0.4 * (vec(beside.pos) - p) + s * (vec(last.pos) - p);
}

// The first triangle of a crossing, seen square from near.
static void expect_crossing(f64 time, i32 lamp, f64 side)
{
    Walks walks;
    walks.crossing();
    walks.game.time = time;
    light_on = lamp;
    const GantryPlate plate = triangles_of(walks.root)[2];
    const Vec spot = edge_of(plate);
    walks.look(spot + Vec{0, 0, 0.8 * side}, spot);
    expect_plate(&walks, plate, side);
}

TEST(gantry_plate_light, follows_the_formula_by_day_on_the_upper_side)
{
    expect_crossing(0, 0, 1);
}

TEST(gantry_plate_light, follows_the_formula_under_a_low_sun_on_the_lower_side)
{
    expect_crossing(200, 0, -1);
}

TEST(gantry_plate_light, comes_from_a_lamp_one_unit_above_the_player_at_night)
{
    expect_crossing(500, 1, 1);
}

TEST(gantry_plate_light, at_night_without_a_lamp_is_none)
{
    Walks walks;
    walks.crossing();
    walks.game.time = 500;
    walks.look({0, -3, 2}, {0, 0, 0});
    EXPECT_EQ(walks.draw().painted(), 0);
}

// A single plate on a slope, seen from above.
static void expect_sloped_plate(f64 x, f64 y, f64 z, f64 time)
{
    Walks walks;
    walks.arm(0, x, y, z);
    walks.port();
    walks.game.time = time;
    const std::vector<GantryPlate> plates = walkways_of(walks.root);
    ASSERT_EQ(plates.size(), 1U);
    const Vec spot = edge_of(plates[0]);
    walks.look(spot + 0.8 * vec(plates[0].normal), spot);
    expect_plate(&walks, plates[0], 1);
}

TEST(gantry_plate_light, follows_the_formula_on_slopes)
{
    expect_sloped_plate(3, 2, 2, 50);
    expect_sloped_plate(-2, 3, -1, 200);
}

TEST(gantry_plate_light, follows_the_formula_where_the_normal_has_two_largest_components)
{
    expect_sloped_plate(4, 0, 4, 100);
    expect_sloped_plate(0, -4, 4, 100);
}

TEST(gantry_plate_light, follows_the_formula_where_the_normal_lies_along_x_or_y)
{
    expect_sloped_plate(-4, 0.1, 4.4, 100);
    expect_sloped_plate(0.1, 4, 4.4, 100);
}

// -------- depth and holes

static f64 depth_of(f64 z)
{
    f64 p[16];
    glGetDoublev(GL_PROJECTION_MATRIX, p);
    return ((p[10] * z + p[14]) / -z + 1) * 0.5;
}

static f32 depth_at(i32 x, i32 y)
{
    f32 depth = -1;
    glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    return depth;
}

// Places on the tile: h is least in the middle of a hole, and greatest far from all.
static const f64 hole_at = (4 - 1 / 6.0) / 20;
static const f64 iron_at = (4 + 1 / 6.0) / 20;

// The pixel of a place.
struct Pixel {
    i32 x, y;
};
static Pixel pixel_of(const Walks* walks, Vec at)
{
    const f64 p[3] = {at.x, at.y, at.z};
    const Place place = picture_place(&walks->game, p);
    return {static_cast<i32>(place.x), static_cast<i32>(place.y)};
}

// From right above the crossing, some pixels to a texel row.
static void look_down(Walks* walks)
{
    walks->look({0.2, 0, 1}, {0.2, 0, 0});
    gfx_set_fov(8, 0.1F, 1000);
}

TEST(gantry_hole, shows_a_ball_that_lies_below_it)
{
    Walks walks;
    walks.crossing();
    const i32 top = walks.node(0, 0, -0.5, 0.5);
    const i32 bottom = walks.node(0, 0, -3, 0.5);
    Maze_join(walks.root, top, bottom); // a ladder, with a ball 0.2 beside the axis
    Maze_node(walks.root, top)->edgerec[0].colour = 0xC00000;
    Maze_node(walks.root, bottom)->edgerec[0].colour = 0xC00000;
    look_down(&walks);
    const Picture picture = walks.draw();
    const Pixel hole = pixel_of(&walks, {hole_at, 0, 0});
    const Pixel iron = pixel_of(&walks, {iron_at, 0, 0});
    const Rgb through = picture.at(hole.x, hole.y);
    EXPECT_GT(through.r, 0.2);
    EXPECT_EQ(through.g, 0);
    EXPECT_EQ(through.b, 0);
    EXPECT_GT(picture.at(iron.x, iron.y).g, 0.1);
}

TEST(gantry_hole, is_at_the_far_end_of_the_depth_and_iron_at_its_place)
{
    Walks walks;
    walks.crossing();
    look_down(&walks);
    walks.slice();
    const Pixel hole = pixel_of(&walks, {hole_at, 0, 0});
    const Pixel iron = pixel_of(&walks, {iron_at, 0, 0});
    EXPECT_EQ(depth_at(hole.x, hole.y), 1);
    EXPECT_NEAR(depth_at(iron.x, iron.y), depth_of(-1), 1e-6);
}

TEST(gantry_hole, goes_through_both_plates_of_an_edge)
{
    for (const f64 far : {2.5, 2.51, 3.0}) { // whole and broken numbers of tiles
        Walks walks;
        walks.arm(0, far, 0, 0);
        walks.look({0.2, 0, 1}, {0.2, 0, 0});
        gfx_set_fov(8, 0.1F, 1000);
        const Picture picture = walks.draw();
        const Pixel hole = pixel_of(&walks, {hole_at, 0, 0});
        const Pixel iron = pixel_of(&walks, {iron_at, 0, 0});
        EXPECT_TRUE(picture.black(hole.x, hole.y)) << far;
        EXPECT_FALSE(picture.black(iron.x, iron.y)) << far;
    }
}

TEST(gantry_plot, closes_a_junction_without_a_crack)
{
    // from so far that holes are blended with the iron, no pixel of a junction shows the ground
    for (i32 turn = 0; turn < 5; turn++) {
        Walks walks;
        Maze_node(walks.root, 0)->radius = 5;
        for (i32 i = 0; i < 5; i++) {
            const f64 angle = 0.3 * turn + i * 1.2;
            Maze_join(walks.root, 0, walks.node(40 * std::cos(angle), 40 * std::sin(angle), 0, 5));
        }
        gfx_set_fov(12, 0.1F, 1000);
        walks.look({0.3, 0.2, 60}, {0.3, 0.2, 0});
        const Picture picture = walks.slice();
        const Pixel middle = pixel_of(&walks, {0, 0, 0});
        for (i32 n = 0; n < 81 * 81; n++) {
            const i32 x = n % 81 - 40;
            const i32 y = n / 81 - 40;
            ASSERT_FALSE(picture.black(middle.x + x, middle.y + y)) << turn << x << " " << y;
            ASSERT_LT(depth_at(middle.x + x, middle.y + y), 1) << turn << x << " " << y;
        }
    }
}

TEST(gantry_plot, has_no_seam_where_the_depth_slices_meet)
{
    Walks walks;
    Maze_node(walks.root, 0)->radius = 40;
    const i32 far = walks.node(0, 1600, 0, 40);
    Maze_join(walks.root, 0, far);
    gfx_set_fov(12, 0.1F, 1000);
    walks.look({0, -200, 60}, {0, 1000, 0});
    const Picture picture = walks.draw();
    const Pixel nearest = pixel_of(&walks, {0, 600, 0});
    const Pixel farthest = pixel_of(&walks, {0, 1400, 0});
    ASSERT_GT(nearest.y, 0);
    ASSERT_GT(farthest.y - nearest.y, 10);
    ASSERT_LT(farthest.y, picture.height);
    for (i32 y = nearest.y; y <= farthest.y; y++) {
        EXPECT_FALSE(picture.black(80, y)) << y;
    }
}

// -------- lists and state

static const char* const lists[] = {"gantrylist", "gantrylist_railings", "gantrylist_railballs"};

static i32 lists_of(const Maze* maze)
{
    i32 n = 0;
    for (const char* const name : lists) {
        n += Maze_attachment(maze, name) != nullptr ? 1 : 0;
    }
    return n;
}

TEST(gantry_plot, keeps_three_lists_a_level_that_die_with_the_graph_and_the_exits_used)
{
    Walks walks;
    walks.arm(0, 4, 0, 0);
    Maze* const sub = walks.port();
    walks.look({0, -4, 2}, {0, 0, 0});
    walks.draw();
    EXPECT_EQ(lists_of(walks.root), 3);
    EXPECT_EQ(lists_of(sub), 3);
    Maze_freeflags(walks.root, ATT_VISITS, true);
    EXPECT_EQ(lists_of(walks.root), 3);
    Maze_freeflags(walks.root, ATT_EXITS, false);
    EXPECT_EQ(lists_of(walks.root), 0);
    EXPECT_EQ(lists_of(sub), 3);
    Maze_freeflags(sub, ATT_GEOMETRY, false);
    EXPECT_EQ(lists_of(sub), 0);
}

TEST(gantry_plot, draws_the_same_with_lists_built_anew)
{
    Walks walks;
    walks.crossing();
    walks.look({2, -4, 3}, {0, 0, 0});
    const Picture first = walks.draw();
    EXPECT_GT(first.painted(), 500);
    EXPECT_TRUE(picture_draw(&walks.game).bytes == first.bytes);
    Maze_freeflags(walks.root, ATT_EXITS, true);
    EXPECT_TRUE(picture_draw(&walks.game).bytes == first.bytes);
}

TEST(gantry_plot, shows_the_exits_used_after_a_passage_between_levels)
{
    Walks walks;
    walks.arm(0, 4, 0, 0);
    Maze* const sub = walks.port();
    Maze_node(sub, 0)->rec.colour = 0xC00000;
    walks.look({8, 0, 1.2}, {4, 0, 0.5}); // at the posts of its dead end
    gfx_set_fov(30, 0.1F, 1000);
    const auto reds = [](const Picture& picture) {
        i32 n = 0;
        for (i32 i = 0; i < picture.width * picture.height; i++) {
            const Rgb c = picture.at(i % picture.width, i / picture.width);
            n += c.r > 2 * c.g && c.r > 0.05 ? 1 : 0;
        }
        return n;
    };
    EXPECT_GT(reds(walks.draw()), 100);
    Pos_markwalked({walks.root, 0}, {sub, 0}, 1); // all exits, of one: dark green
    EXPECT_EQ(reds(picture_draw(&walks.game)), 0);
}

TEST(gantry_plot, leaves_blending_off_and_the_first_texture_unit_and_no_program_current)
{
    Walks walks;
    walks.crossing();
    walks.draw();
    GLint program = -1;
    GLint unit = -1;
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    glGetIntegerv(GL_ACTIVE_TEXTURE, &unit);
    EXPECT_EQ(program, 0);
    EXPECT_EQ(unit, GL_TEXTURE0);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
}

TEST(gantry_plot, stands_two_nodes_on_one_spot_nodes_without_radius_and_vertical_edges)
{
    Walks walks;
    walks.arm(0, 0, 0, 0);
    walks.arm(0, 0, 0, 3);
    walks.arm(0, 0, 0, 0.1);
    Maze_node(walks.root, walks.arm(0, 4, 0, 0))->radius = 0;
    Maze_node(walks.root, 0)->radius = 0;
    light_on = 1;
    for (i32 i = 0; i < 10; i++) {
        walks.look({3 * std::cos(i * 0.7), 3 * std::sin(i * 0.7), i * 0.5 - 2}, {0, 0, 0.5});
        walks.draw();
    }
    for (const GlVertex& v : emitted(gantry_walkways, walks.root)) {
        EXPECT_TRUE(std::isfinite(v.pos[0] + v.normal[0] + v.normal[2] + v.tex[0] + v.tex[2]));
    }
}
