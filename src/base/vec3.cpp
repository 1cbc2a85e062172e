#include "base/vec3.h"

#include "base/rnd.h"

#include <cmath>
#include <cstring>

f64 vec3_dot(const f64 a[3], const f64 b[3])
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void vec3_sub(f64 out[3], const f64 a[3], const f64 b[3])
{
    out[0] = a[0] - b[0];
    out[1] = a[1] - b[1];
    out[2] = a[2] - b[2];
}

void vec3_addscaled(f64 out[3], const f64 a[3], const f64 b[3], f64 k)
{
    out[0] = a[0] + b[0] * k;
    out[1] = a[1] + b[1] * k;
    out[2] = a[2] + b[2] * k;
}

f64 vec3_length(const f64 v[3])
{
    return std::sqrt(vec3_dot(v, v));
}

static void setvector(f64 out[3], f64 x, f64 y, f64 z)
{
    out[0] = x;
    out[1] = y;
    out[2] = z;
}

void vec3_unit(f64 out[3], const f64 v[3])
{
    const f64 s = vec3_dot(v, v);
    if (!(s > 0.0)) {
        setvector(out, 0.0, 0.0, 0.0);
        return;
    }
    const f64 k = 1.0 / std::sqrt(s);
    setvector(out, v[0] * k, v[1] * k, v[2] * k);
}

void vec3_frame(const f64 v[3], f64 a[3], f64 b[3])
{
    const f64 ax = std::fabs(v[0]);
    f64 p[3];
    if (ax > std::fabs(v[1]) && ax > std::fabs(v[2])) {
        setvector(p, -v[2], 0.0, v[0]); // v crossed with the y axis
    } else {
        setvector(p, 0.0, v[2], -v[1]); // v crossed with the x axis
    }
    const f64 length = vec3_length(p);
    if (!(length > 0.0)) {
        setvector(a, 0.0, 1.0, 0.0);
        setvector(b, 0.0, 0.0, 1.0);
        return;
    }
    setvector(a, p[0] / length, p[1] / length, p[2] / length);
    f64 cross[3];
    setvector(cross, v[1] * p[2] - v[2] * p[1], v[2] * p[0] - v[0] * p[2],
              v[0] * p[1] - v[1] * p[0]);
    const f64 size = vec3_length(cross);
    if (size > 0.0) {
        setvector(b, cross[0] / size, cross[1] / size, cross[2] / size);
    } else {
        setvector(b, 0.0, 0.0, 0.0);
    }
}

void vec3_rotation(f64 matrix[9], const f64 r[3])
{
    const f64 t = vec3_length(r);
    if (!(t > 0.0)) {
        const f64 identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
        std::memcpy(matrix, identity, sizeof identity);
        return;
    }
    const f64 ax = r[0] / t;
    const f64 ay = r[1] / t;
    const f64 az = r[2] / t;
    const f64 c = std::cos(t);
    const f64 s = std::sin(t);
    const f64 k = 1 - c;
    setvector(matrix + 0, k * ax * ax + c, k * ax * ay - s * az, k * ax * az + s * ay);
    setvector(matrix + 3, k * ay * ax + s * az, k * ay * ay + c, k * ay * az - s * ax);
    setvector(matrix + 6, k * az * ax - s * ay, k * az * ay + s * ax, k * az * az + c);
}

void vec3_transform(f64 out[3], const f64 matrix[9], const f64 v[3])
{
    const f64 x = vec3_dot(matrix + 0, v);
    const f64 y = vec3_dot(matrix + 3, v);
    const f64 z = vec3_dot(matrix + 6, v);
    setvector(out, x, y, z);
}

void vec3_rotate(f64 out[3], const f64 v[3], const f64 r[3])
{
    if (!(vec3_length(r) > 0.0)) {
        setvector(out, v[0], v[1], v[2]);
        return;
    }
    f64 matrix[9];
    vec3_rotation(matrix, r);
    vec3_transform(out, matrix, v);
}

static f64 signeddraw()
{
    const i32 low = rnd_draw();
    const i32 high = rnd_draw();
    return (low * 0x1p-15 + high) * 0x1p-14 - 1.0;
}

void vec3_random_sphere(f64 out[3], f64 r)
{
    f64 v[3];
    do {
        v[0] = signeddraw();
        v[1] = signeddraw();
        v[2] = signeddraw();
    } while (vec3_dot(v, v) > 1.0);
    const f64 k = r / vec3_length(v);
    setvector(out, v[0] * k, v[1] * k, v[2] * k);
}
