// A flat disc that faces the viewer. Texture coordinate: centre and radius. Vertex: the corner, each
// coordinate -1 or 1. Colour: red, green, blue, and the time of the last passage, negative for none.
uniform vec3 o; // the eye
uniform float t; // the game clock, seconds
uniform int showtrail;
varying vec3 c; // centre, from the eye
varying float r; // radius
varying float oz; // eye-space z of the disc's plane
varying vec3 pos; // this point of the disc's plane, from the eye

void main()
{
    // Far from the origin single precision has no digits left for a sum of place and corner; seen from
    // the eye both are small. All corners of all discs and bands share what the eye itself has lost.
    c = gl_MultiTexCoord0.xyz - o;
    r = gl_MultiTexCoord0.w;
    float d = length(c);
    vec3 po = -c / max(d, 1e-30);
    // Seen along the x axis any direction square to it serves, since a disc has no direction of its
    // own. An eye on the centre makes v zero, and nothing is drawn.
    vec3 side = cross(vec3(1.0, 0.0, 0.0), po);
    float s = length(side);
    vec3 u = s > 1e-6 ? side / s : vec3(0.0, 1.0, 0.0);
    vec3 v = cross(po, u);
    // the margin keeps room for the anti-aliased edge at any distance
    pos = c + (r + 0.005 * d) * (gl_Vertex.x * u + gl_Vertex.y * v);
    vec3 eye = (gl_ModelViewMatrix * vec4(o, 1.0)).xyz + mat3(gl_ModelViewMatrix) * pos;
    gl_Position = gl_ProjectionMatrix * vec4(eye, 1.0);
    oz = gl_Position.w / gl_ProjectionMatrix[2][3];
    vec3 col = gl_Color.rgb;
    float ct = gl_Color.a;
    if (showtrail > 0 && ct >= 0.0) {
        col += agecolour(t - ct);
    }
    gl_FrontColor = vec4(col, 1.0);
}
