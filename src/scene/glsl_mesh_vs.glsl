// The mesh of sea and land: as wide as the eye is high, pinned to the plane of the surface, and displaced.
varying float oz; // eye-space z

void main()
{
    float h = max(1.0, abs(o.z - orig.z));
    spos = gl_Vertex.xyz * h + orig;
    mat3 s = surface(spos);
    pos = s[0];
    gl_Position = gl_ModelViewProjectionMatrix * vec4(pos, 1.0);
    oz = gl_Position.w / gl_ProjectionMatrix[2][3];
    gl_FrontColor = gl_Color;
}
