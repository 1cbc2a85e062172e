#version 120
// Light that the age of a passage, in seconds, adds to an element: a colour for each decade of a
// logarithmic scale that begins at 0.01 s, over a grey that fades.
vec3 agecolour(float t)
{
    float decade = log2(max(1.0, 100.0 * t)) * 0.301029995664;
    float i = fract(decade) * 0.1412;
    float h = 0.5 * i;
    vec3 c = vec3(0.0667 + 0.0627 * max(6.6388889 - decade, 0.0));
    if (decade <= 1.0) {
        return c + vec3(0.1412, 0.1412, 0.1412);
    }
    if (decade <= 2.0) {
        return c + vec3(0.1412, 0.1412 - i, 0.1412);
    }
    if (decade <= 3.0) {
        return c + vec3(0.1412, 0.0, 0.1412 - i);
    }
    if (decade <= 4.0) {
        return c + vec3(0.1412, i, 0.0);
    }
    if (decade <= 5.0) {
        return c + vec3(0.1412 - i, 0.1412, 0.0);
    }
    if (decade <= 6.0) {
        return c + vec3(0.0, 0.1412, i);
    }
    if (decade <= 7.0) {
        return c + vec3(0.0, 0.1412 - i, 0.1412);
    }
    if (decade <= 8.0) {
        return c + vec3(h, h, 0.1412 - h);
    }
    if (decade <= 9.0) {
        return c + vec3(0.0706 - h, 0.0706 - h, 0.0706 - h);
    }
    return c;
}
