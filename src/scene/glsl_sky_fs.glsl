// The dome: deeper blue above, a warm haze toward the horizon; its lower half mirrors the upper. The
// colour is the brightness of the sky, the texture coordinate the direction.
void main()
{
    float az = abs(normalize(gl_TexCoord[0].xyz).z);
    vec3 c = vec3(0.25, 1.0 - 0.75 * az, 1.0);
    vec3 chaze = vec3(176.0, 168.0, 144.0) / 255.0;
    float ahaze = 1.0 - exp(-0.04 / max(az, 1e-6)); // all haze at the horizon
    gl_FragColor = gl_Color * vec4(mix(c, chaze, ahaze), 1.0);
}
