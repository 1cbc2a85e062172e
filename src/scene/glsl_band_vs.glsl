// A flat ribbon that faces the viewer. Vertex: a point of the axis, and a code, 2 and 3 at this node,
// 0 and 1 at the target, odd on the one side of the ribbon. Normal: the direction of the axis, of any
// length. Texture coordinate: the time of the last passage, negative for none, and the radius here.
uniform vec3 o; // the eye
uniform float t; // the game clock, seconds
uniform int showtrail;
varying float r; // distance from the axis, negative on one side
varying float oz; // eye-space z of the ribbon

vec3 unit(vec3 v)
{
    float l = length(v);
    return l > 0.0 ? v / l : vec3(0.0);
}

void main()
{
    vec3 p1 = gl_Vertex.xyz;
    vec3 away = o - p1;
    float d = length(away);
    // Zero for an eye on the axis itself, which sees the ribbon from its edge. Units are crossed, so
    // that the product of two small vectors doesn't vanish.
    vec3 pr = unit(cross(unit(gl_Normal), unit(away)));
    float r1 = gl_MultiTexCoord0.y;
    float r0 = -r1;
    float f = gl_Vertex.w >= 2.0 ? gl_Vertex.w - 2.0 : gl_Vertex.w;
    // the margin keeps room for the anti-aliased edge at any distance
    r = r0 - 0.005 * d + (r1 - r0 + 0.01 * d) * f;
    // seen from the eye, as the discs are
    vec3 eye = (gl_ModelViewMatrix * vec4(o, 1.0)).xyz + mat3(gl_ModelViewMatrix) * (pr * r - away);
    gl_Position = gl_ProjectionMatrix * vec4(eye, 1.0);
    oz = gl_Position.w / gl_ProjectionMatrix[2][3];
    gl_TexCoord[0] = gl_MultiTexCoord0;
    vec3 col = gl_Color.rgb;
    float ct = gl_MultiTexCoord0.x;
    if (showtrail > 0 && ct >= 0.0) {
        col += agecolour(t - ct);
    }
    gl_FrontColor = vec4(col, 1.0);
}
