// Clouds from one small image of noise, summed over 13 sizes. Texture coordinate: the place in texels.
// Colour: that of the layer, with the strength of its sheet as alpha.
uniform sampler2D noise; // 128 by 128, repeating
uniform float dewpoint; // above this value there is cloud

float noiseat(float x, float y)
{
    return texture2D(noise, vec2(x, y) + 0.5 / 128.0).r; // half a texel
}

float cloudf(float x, float y)
{
    float k1 = 0.5 + noiseat(0.003 * x, 0.003 * y); // the roughness varies over a very long scale
    float k2 = 0.05 + 0.1 * noiseat(0.003 * y, 0.003 * x);
    float sum = 0.0;
    float denom = 0.0;
    float sc = 1.0;
    for (int n = 13; n > 0; n--) {
        sum += noiseat(x, y) * sc;
        denom += sc;
        float turned = 0.5 * x + 0.3 * y; // the next is broader and turned
        y = -0.3 * x + 0.5 * y;
        x = turned;
        sc *= k1 + k2 * float(n);
    }
    return sum / denom;
}

void main()
{
    float v = cloudf(gl_TexCoord[0].x / 128.0, gl_TexCoord[0].y / 128.0);
    float b = 2.0 * (dewpoint + 145.0 / 255.0 - v); // thick cloud is darker
    float x = 25.5 * (v - dewpoint);
    float a = exp(x) / (exp(-x) + exp(x));
    gl_FragColor = 2.0 * gl_Color * vec4(b, b, b, a);
}
