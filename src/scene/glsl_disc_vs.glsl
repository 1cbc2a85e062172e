// A flat disc that faces the viewer. Texture coordinate: centre and radius. Vertex: the corner, each
// coordinate -1 or 1. Colour: red, green, blue, and the time of the last passage, negative for none.
uniform vec3 o; // the eye
uniform float t; // the game clock, seconds
uniform int showtrail;
varying vec3 c; // centre
varying float r; // radius
varying float oz; // eye-space z of the disc's plane
varying vec3 pos; // this point of the disc's plane

void main()
{
    c = gl_MultiTexCoord0.xyz;
    r = gl_MultiTexCoord0.w;
    vec3 away = o - c;
    float d = length(away);
    vec3 po = away / max(d, 1e-30);
    // Seen along the x axis any direction square to it serves, since a disc has no direction of its
    // own. An eye on the centre makes v zero, and nothing is drawn.
    vec3 side = cross(vec3(1.0, 0.0, 0.0), po);
    float s = length(side);
    vec3 u = s > 1e-6 ? side / s : vec3(0.0, 1.0, 0.0);
    vec3 v = cross(po, u);
    // the margin keeps room for the anti-aliased edge at any distance
    pos = c + (r + 0.005 * d) * (gl_Vertex.x * u + gl_Vertex.y * v);
    gl_Position = gl_ModelViewProjectionMatrix * vec4(pos, 1.0);
    oz = gl_Position.w / gl_ProjectionMatrix[2][3];
    vec3 col = gl_Color.rgb;
    float ct = gl_Color.a;
    if (showtrail > 0 && ct >= 0.0) {
        col += agecolour(t - ct);
    }
    gl_FrontColor = vec4(col, 1.0);
}
