// The round disc in a billboard: texture coordinate 0 holds its centre and radius.
varying vec3 pos;

void main()
{
    vec3 away = pos - gl_TexCoord[0].xyz;
    float r = gl_TexCoord[0].w;
    if (dot(away, away) > r * r) {
        discard;
    }
    gl_FragColor = gl_Color;
}
