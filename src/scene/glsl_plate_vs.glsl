#version 120
// A piece of perforated floor. Vertex and normal stand in the world. Texture coordinate: the place on
// the plate, and the compass angle of the texture's first axis.
varying vec3 pos;
varying vec3 norm;
varying float oz; // eye-space z

void main()
{
    pos = gl_Vertex.xyz;
    norm = gl_Normal;
    gl_Position = gl_ModelViewProjectionMatrix * gl_Vertex;
    oz = gl_Position.w / gl_ProjectionMatrix[2][3];
    gl_TexCoord[0] = gl_MultiTexCoord0;
    gl_FrontColor = gl_Color;
}
