#version 120
// Sharp glyphs from a ramp of distances, at any size. Red and blue are sampled to the left and to the
// right of green, as the stripes of a display lie.
uniform sampler2D tex; // the atlas; 0.5 on the edge of a stroke
uniform ivec2 sz; // size of the atlas, texels
uniform float aapix; // width of the ramp, texels
uniform float dcx; // how far red and blue lie from green, screen pixels

void main()
{
    vec2 tc = gl_TexCoord[0].xy;
    vec2 tcdx = dFdx(tc);
    vec4 c1 = texture2D(tex, tc - tcdx * dcx);
    vec4 c2 = texture2D(tex, tc);
    vec4 c3 = texture2D(tex, tc + tcdx * dcx);
    vec4 c = vec4(c1.r, c2.g, c3.b, c2.g);
    // A screen pixel narrower than the ramp makes it steeper, down to a pixel and a half.
    float pixel = max(length(tcdx * vec2(sz)), 1e-6);
    float sc = max(1.0, 1.5 * aapix / pixel);
    gl_FragColor = gl_Color * pow(max(vec4(0.0), 0.5 + (c - 0.5) * sc), vec4(1.0 / 2.2));
}
