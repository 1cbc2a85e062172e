#version 120
// A cylinder with open ends by a quad behind its axis. Texture coordinate: one end of the axis, and the
// radius. Normal: the axis. Vertex: the corner, -1 or 1 along the axis and across it;
// z is 0, or 1 for a cylinder that isn't painted.
//
// In the plane across the axis the cylinder is a circle, and the eye a point outside it. With m the
// ratio of the radius to the distance of the eye from the axis, the two rays that touch the circle meet
// the line behind it, where the quad lies, at r sqrt((1 + m) / (1 - m)) from the middle. So the quad
// ends on the outline, and a place on it, counted from -1 to 1, gives all lengths of the picture without
// the difference of large squares.
varying vec3 epos; // this point of the quad: the ray through the pixel
varying vec3 across; // unit vector in eye space from the eye to the nearest point of the axis
varying vec3 beside; // unit vector square to it and to the axis
varying vec4 place; // along the axis, 0 to 1; across, -1 to 1; m; `along` of the point nearest the eye

// What can't be seen lies here, outside the view.
const vec4 nowhere = vec4(2.0, 2.0, 2.0, 1.0);

void main()
{
    mat4 p = gl_ProjectionMatrix;
    float near = p[3][2] / (p[2][2] - 1.0);
    float far = p[2][2] < -1.0 ? p[3][2] / (p[2][2] + 1.0) : 1e30;
    // Told from the end that comes first along x, y or z: the same numbers whichever end it was given
    // from, so that of two on one place the later one is seen, without a speckle of the other.
    vec3 start = gl_MultiTexCoord0.xyz;
    vec3 axis = gl_Normal;
    float sense = axis.x != 0.0 ? axis.x : axis.y != 0.0 ? axis.y : axis.z;
    if (sense < 0.0) {
        start += axis;
        axis = -axis;
    }
    vec3 ex = (gl_ModelViewMatrix * vec4(start, 1.0)).xyz;
    vec3 ea = mat3(gl_ModelViewMatrix) * axis;
    float r = gl_MultiTexCoord0.w;
    gl_FrontColor = gl_Color;
    float aa = dot(ea, ea);
    float foot = -dot(ex, ea) / aa;
    vec3 ey = ex + foot * ea;
    float xc = length(ey);
    float top = max(ex.z, ex.z + ea.z) + r;
    float bottom = min(ex.z, ex.z + ea.z) - r;
    bool seen = gl_Vertex.z < 0.5 && r > 0.0 && xc > r; // from inside a cylinder is not there
    if (!seen || !(bottom < -near) || top < -far) {
        epos = vec3(0.0);
        across = vec3(0.0);
        beside = vec3(0.0);
        place = vec4(0.0);
        gl_Position = nowhere;
        return;
    }
    across = ey / xc;
    beside = normalize(cross(across, ea));
    float m = r / xc;
    // A ray that hits has 1 / k of its length from the eye to the quad before the hit: k is least in the
    // middle, greatest on the outline.
    float most = (1.0 + m) / (1.0 - m);
    float least = 1.0 / (1.0 - m);
    float from = -foot; // both ends, from the point nearest to the eye
    float to = 1.0 - foot;
    float low = from * (from < 0.0 ? most : least) + foot;
    float high = to * (to > 0.0 ? most : least) + foot;
    float room = 1e-4 * max(length(ex), length(ex + ea)) / p[0][0]; // for pixels on the outline
    float u = (gl_Vertex.x < 0.0 ? low : high) + gl_Vertex.x * room / sqrt(aa);
    float v = gl_Vertex.y * (1.0 + room / r);
    epos = ex + u * ea + v * r * sqrt(most) * beside + r * across;
    place = vec4(u, v, m, foot);
    gl_Position = gl_ProjectionMatrix * vec4(epos, 1.0);
    gl_Position.z = -near; // the quad ends at the near plane, and doesn't at the far one
}
