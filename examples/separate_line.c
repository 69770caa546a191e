#include <movane/interpolation.h>
#include <stdio.h>

int main(void) {
    /* A table from RGB to CMYK with 17 grid points an axis, filled with a toy model of a press. */
    md_tetrab_table* table = md_tetrab_new(3, 4, 17);
    unsigned char rgb[3];
    int index[3] = {0, 0, 0};
    do {
        unsigned char* ink  = md_tetrab_vertex_get(table, index, rgb);
        unsigned char light = rgb[0] > rgb[1] ? rgb[0] : rgb[1];
        if (rgb[2] > light) light = rgb[2];
        for (int c = 0; c < 3; ++c) ink[c] = (unsigned char)(light - rgb[c]);
        ink[3] = (unsigned char)(255 - light);
    } while (md_tetrab_scan_vertex(table, index));

    /* One line of interleaved pixels: white, a red, a dark grey. */
    unsigned char line[9] = {255, 255, 255, 200, 30, 40, 50, 50, 50}, inks[12];
    unsigned char *in[3]  = {line, line + 1, line + 2},
                  *out[4] = {inks, inks + 1, inks + 2, inks + 3};
    md_tetrab_interp(table, in, 3, out, 4, 3, NULL, 0);
    for (unsigned char* p = inks; p < inks + 12; p += 4)
        printf("C %d M %d Y %d K %d\n", p[0], p[1], p[2], p[3]);
    table = md_tetrab_kill(table);
    return 0;
}
