/* Imaging: scanline filters that the host drives line by line.
 *
 *   FIR filter    fir_*    a square kernel, 16.16 fixed point
 *
 * The scanline protocol, common to all families of this header:
 *
 *   create ... start the image ... feed its lines from top to bottom ... next image ... kill
 *
 * - A start call per image takes its measures, the callback and the sample steps. One line call
 *   per input line takes one input pointer per channel and, per channel, the address of the
 *   host's pointer to the output line. Output may run behind input; the call that feeds the last
 *   line delivers what is still missing.
 * - A finished output line is announced at once: line_done(channel). The output pointer is read
 *   again before every line, so the callback is the place to move it to the next buffer.
 * - Functions without suffix take unsigned 16-bit samples, those with _b unsigned 8-bit samples.
 *   Mono, RGB and CMYK carry 1, 3 and 4 channels, processed in the order 0, 1, 2, 3, each by
 *   itself.
 * - A step is the distance between two samples of one channel in a line, counted in samples:
 *   1 for planar lines; 3 for interleaved RGB, where the channels are base, base+1 and base+2;
 *   4 for interleaved CMYK. Only the samples of a channel are written, nothing between them.
 * - Line calls check nothing. Input and output lines must not overlap. A record serves one image
 *   and one thread at a time; different records are independent.
 */
#ifndef MOVANE_IMAGING_H
#define MOVANE_IMAGING_H

#include "movane/api.h"

MOVANE_C_BEGIN

/* --- FIR filter -------------------------------------------------------------------------
 *
 * A finite-impulse-response filter with a square kernel of 2*radius+1 weights each way:
 *
 *   fir_filter* f = fir_new(1, 255);
 *   fir_set_kernel(f, nine_weights);
 *   fir_start(f, 3, height, width, line_done, 3, 3);
 *   for (y = 0; y < height; ++y) {
 *       unsigned char* in = line(y);
 *       fir_rgb_b(f, in, in + 1, in + 2, &out[0], &out[1], &out[2]);
 *   }
 *   fir_kill(f);
 *
 * A filtered sample is the sum of sample * weight over the window around it, in 16.16 fixed
 * point: negative sums become 0, the fraction is dropped, and the rest is capped at max_value.
 * Weights are not normalised. The outermost radius lines and columns of the image pass through
 * unfiltered and uncapped, as does an image that is not larger than that.
 *
 * Sums are 32 bits wide and wrap silently: with 16-bit samples they stay below 32768.0 as long as
 * the samples or the weights are small enough. A sample of 32768 or more under the single weight
 * 1.0 comes out as 0.
 *
 * The first radius lines come out at the calls that feed them, those in the middle radius calls
 * later, the last radius lines within the call that feeds line height-1: as many lines as went
 * in, each announced once per channel. Of an image of less than 2*radius lines nothing is
 * filtered; its first lines (radius of them, or all) come out when they are fed, and its last
 * lines (radius of them, or all) at the end, whether they have come out before or not.
 */

typedef struct fir_filter fir_filter;

/// Tells the host that the output line of a channel, 0 to 3, is complete. An exception that it lets
/// escape ends the process.
typedef void (*fir_line_done)(int channel);

/// Creates a square filter whose weights are all zero.
///
/// @param radius     kernel radius in pixels, 0 to 10; the kernel is 2*radius+1 wide and high
/// @param max_value  upper clamp of a filtered sample, in sample units (255, 65535, or any
///                   other; what does not fit a sample loses its upper bits)
/// @return           a filter the caller owns and releases with fir_kill(); null on failure
/// @fails            "fir_new: illegal radius"    radius above 10 or negative
///                   "fir_new: unable to malloc"  out of memory; nothing is left allocated
MOVANE_API fir_filter* fir_new(int radius, int max_value);

/// Releases the filter; null is accepted.
///
/// @return  0
MOVANE_API int fir_kill(fir_filter* f);

/// Loads the weights, which stay loaded for all following images.
///
/// They are kept in 16.16 fixed point, truncated towards zero: the smallest weight is 1/65536,
/// weights beyond -32768 or 32768 are limited to the end of the range, and what is not a number
/// counts as 0.
///
/// @param weights  (2*radius+1) squared numbers, line by line from the top left; copied
/// @return         1; 0 when an argument is null, nothing is changed then
MOVANE_API int fir_set_kernel(fir_filter* f, const double* weights);

/// Begins an image; to be called before its first line. Lines of an image before it are
/// forgotten, the weights stay.
///
/// @param channels   as many as the line function used for this image takes: 1, 3 or 4
/// @param height     lines of the image
/// @param width      pixels of a line
/// @param line_done  called for every output line and channel; null for no calls
/// @param in_step    samples from one sample of a channel to the next, in input lines
/// @param out_step   the same in output lines
/// @return           f
MOVANE_API fir_filter* fir_start(fir_filter* f, int channels, int height, int width,
                                 fir_line_done line_done, int in_step, int out_step);

/// Feeds one line of a monochrome image and writes the output lines that become ready, if any.
///
/// The filter remembers the input pointer, not the samples: keep a line alive and unchanged until
/// 2*radius+1 further lines have been fed, or the image is complete. Lines fed beyond the height
/// of the image, which is at least 1, have no effect.
///
/// @param in   first sample of the line; samples lie in_step apart
/// @param out  where to find the host's pointer to the output line; samples are written out_step
///             apart
/// @pre        fir_start() was called for this image with channels == 1
/// @calls      line_done(0) for every line written
MOVANE_API void fir_mono(fir_filter* f, unsigned short* in, unsigned short** out);

/// fir_mono() for 8-bit samples.
MOVANE_API void fir_mono_b(fir_filter* f, unsigned char* in, unsigned char** out);

/// fir_mono() for the three channels of a line.
///
/// @pre    fir_start() was called for this image with channels == 3
/// @calls  line_done(0), line_done(1), line_done(2), in this order, for every line written; each
///         before the next channel is written
MOVANE_API void fir_rgb(fir_filter* f, unsigned short* in0, unsigned short* in1,
                        unsigned short* in2, unsigned short** out0, unsigned short** out1,
                        unsigned short** out2);

/// fir_rgb() for 8-bit samples.
MOVANE_API void fir_rgb_b(fir_filter* f, unsigned char* in0, unsigned char* in1, unsigned char* in2,
                          unsigned char** out0, unsigned char** out1, unsigned char** out2);

/// fir_mono() for the four channels of a line.
///
/// @pre    fir_start() was called for this image with channels == 4
/// @calls  line_done(0), line_done(1), line_done(2), line_done(3), in this order, for every line
///         written; each before the next channel is written
MOVANE_API void fir_cmyk(fir_filter* f, unsigned short* in0, unsigned short* in1,
                         unsigned short* in2, unsigned short* in3, unsigned short** out0,
                         unsigned short** out1, unsigned short** out2, unsigned short** out3);

/// fir_cmyk() for 8-bit samples.
MOVANE_API void fir_cmyk_b(fir_filter* f, unsigned char* in0, unsigned char* in1,
                           unsigned char* in2, unsigned char* in3, unsigned char** out0,
                           unsigned char** out1, unsigned char** out2, unsigned char** out3);

MOVANE_C_END

#endif
