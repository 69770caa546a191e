/* Imaging: scanline filters that the host drives line by line, and three small tools.
 *
 *   FIR filter             fir_*       a square kernel, 16.16 fixed point
 *   Unsharp masking        fusm_*      sharpening with noise reduction and limits
 *   Zoom                   izat_*      resizing by a separable filter
 *   Bilinear resampling    ibilin_*    resizing between two lines and two columns
 *   Histogram              hist_*      counts, mean, percentiles
 *   Ordered dither         rdither_*   fewer levels by a 4 x 4 pattern
 *   Flood fill             flood_*     a connected region of any raster
 *
 * The scanline protocol, common to the filters of this header:
 *
 *   create ... start the image ... feed its lines from top to bottom ... next image ... kill
 *
 * - A start call per image takes its measures, the callback and the sample steps. One line call
 *   per input line takes one input pointer per channel and, per channel, the address of the
 *   host's pointer to the output line. Output may run behind input; the call that feeds the last
 *   line delivers what is still missing.
 * - A finished output line is announced at once: line_done(channel). FIR filter and unsharp masking
 *   read the output pointer again before every line, so the callback is the place to move it to
 *   the next buffer; the two resizers read it once in a call.
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

/* --- Unsharp masking -----------------------------------------------------------------------
 *
 * Sharpens up to 4 components of an image by what a small high-pass finds in a channel:
 *
 *   const int channel_of[3] = {0, 1, 2};
 *   usm_filter* f = fusm_new(1, 255, 3, 3, channel_of, NULL);
 *   fusm_stren_set(f, strengths);
 *   fusm_start(f, height, width, line_done, 3, 1, 3);
 *   for (y = 0; y < height; ++y) fusm_b_do(f, lines_in(y), lines_out, NULL);
 *   fusm_kill(f);
 *
 * The channels are the input lines themselves, or lines that the host computes from them in a
 * callback: one luminance for three colours, say. The high-pass looks 1 pixel far for radius 0 and
 * 2 pixels for radius 1 and 2; its weights sum to zero:
 *
 *   radius 0   0 -1  0     radius 1   0  0 -1  0  0     radius 2   0 -1 -2 -1  0
 *             -1  4 -1                0  0 -2  0  0               -1  0  2  0 -1
 *              0 -1  0               -1 -2 12 -2 -1               -2  2  8  2 -2
 *                                     0  0 -2  0  0               -1  0  2  0 -1
 *                                     0  0 -1  0  0                0 -1 -2 -1  0
 *
 * Its result for a pixel, its sign set aside and capped at maxval, becomes a correction by the
 * component's gain table, which is added to the sample or, with a negative result, taken from it.
 * The gain is `strength` (a third of it for radius 1, a quarter for radius 2), rounded to whole
 * sample units and at most 65535. Noise reduction takes small results away: of n = maxval *
 * noise_red, those below n / 2 give nothing, those between n / 2 and n ever more of their
 * correction. A level curve scales the result by the sample's own level before that.
 *
 * A sample ends between 0 and the limit: that of the limit line at its place, or maxval. The
 * outermost lines (1 for radius 0, else 2) pass as they are; so do the outermost columns, but for
 * the limit. An image of fewer lines than the high-pass looks at passes as it is.
 *
 * The first 1 or 2 lines come out at the calls that feed them, those in the middle 1 or 2 calls
 * later, the last 1 or 2 at the call that feeds line height-1. Lines of a low image that are both
 * among the first and among the last come out twice.
 */

typedef struct usm_filter usm_filter;

/// Tells the host that the output line of a component, 0 to 3, is complete. An exception that it
/// lets escape ends the process.
typedef void (*fusm_line_done)(int component);

/// Computes the channels in which the high-pass looks from an input line.
///
/// @param in        array of nr_comp pointers to lines of the sample type in use (unsigned char*
///                  or unsigned short*), the input line as it was fed
/// @param in_step   samples from one sample to the next in them
/// @param out       array of nr_channels pointers to lines of the same type, to be filled
/// @param out_step  1
/// @param width     samples of each line
/// @return          is not looked at
typedef int (*fusm_comps)(void* in, int in_step, void* out, int out_step, int width);

/// Creates a filter of strength 1 without noise reduction.
///
/// @param radius         0, 1 or 2, see above
/// @param maxval         largest sample, at least 1: 255, 65535, or any other. A level curve
///                       takes larger samples for this.
/// @param nr_comp        components, 0 to 4
/// @param nr_channels    channels, 0 to 10; without a callback at most nr_comp
/// @param comp_channels  for each component the channel it goes by, 0 to nr_channels-1; copied
/// @param comps          null for the input lines themselves as channels
/// @return               a filter the caller owns and releases with fusm_kill(); null on failure
/// @fails                "usm_new: illegal radius"
///                       "usm_new: illegal nr comp"           a count or a channel is out of range
///                       "usm_new: unable to malloc"          for the record
///                       "usm_new: unable to alloc usmval"    for the gain tables; or maxval is
///                                                            below 1
MOVANE_API usm_filter* fusm_new(int radius, int maxval, int nr_comp, int nr_channels,
                                const int* comp_channels, fusm_comps comps);

/// Releases the filter; null is accepted.
///
/// @return  0
MOVANE_API int fusm_kill(usm_filter* f);

/// Begins an image; to be called before its first line. Lines of an image before it are forgotten,
/// the settings stay.
///
/// @param height,width  lines of the image and pixels of a line
/// @param line_done     called for every output line and component; null for no calls
/// @param in_step       samples from one sample of a component to the next, in input lines
/// @param limit_step    the same in limit lines
/// @param out_step      the same in output lines
/// @return              1; 0 on failure, line calls do nothing then
/// @fails               "fusm_start: malloc comps_buf failed"  for the lines of the callback
///                      "fusm_start: malloc HPFc_buf failed"   for the lines of the high-pass
MOVANE_API int fusm_start(usm_filter* f, int height, int width, fusm_line_done line_done,
                          int in_step, int limit_step, int out_step);

/// Feeds one line and writes the output lines that become ready, if any.
///
/// The filter remembers the pointers, not the samples: keep input and limit line alive and
/// unchanged until 5 further lines have been fed, or the image is complete. Lines fed beyond the
/// height of the image have no effect.
///
/// @param in     array of nr_comp pointers, each to the first sample of a component
/// @param out    array of nr_comp pointers to output lines, read again before every line written
/// @param limit  the largest value for each pixel of this input line; null for maxval
/// @return       lines fed since fusm_start(), this one included; 0 when it failed
/// @pre          fusm_start() was called for this image
/// @calls        line_done(k) for every component and line written, in order of the components,
///               each before the next is written; the callback of the channels once per line of
///               the image, unless it has no pixels
MOVANE_API int fusm_do(usm_filter* f, unsigned short** in, unsigned short** out,
                       unsigned short* limit);

/// fusm_do() for 8-bit samples.
MOVANE_API int fusm_b_do(usm_filter* f, unsigned char** in, unsigned char** out,
                         unsigned char* limit);

/// Sets the strength of all components; 1.0 at first, 0 leaves the image as it is.
///
/// @param strength  nr_comp numbers; copied. Gains are limited to 0 to 65535.
MOVANE_API void fusm_stren_set(usm_filter* f, const double* strength);

/// Sets the noise reduction of all components.
///
/// @param noise_red  nr_comp fractions of maxval, 0.0 at first; copied. Negative ones count as 0.
MOVANE_API void fusm_noise_red_set(usm_filter* f, const double* noise_red);

/// @return  the filter's own nr_comp strengths; writing to them has no effect before the next
///          fusm_stren_set() or fusm_noise_red_set()
MOVANE_API double* fusm_stren_get(usm_filter* f);

/// @return  the filter's own nr_comp noise reductions, see fusm_stren_get()
MOVANE_API double* fusm_noise_red_get(usm_filter* f);

/// Sets by how much the sharpening of a component depends on the sample's own level: straight
/// lines between the given points, continued at both ends.
///
/// @param comp    0 to nr_comp-1
/// @param n       points; 0 removes the curve, another count below 2 is a failure
/// @param level   n sample values in any order, no two the same
/// @param factor  n factors, 1.0 leaves the high-pass as it is; they count in units of 1/256,
///                rounded, and from 0 to 65535 of these
/// @return        1; 0 on failure, the component has no curve then
/// @fails         "fusm_level_red_set: unable to create lin interp"  out of memory, too few points,
///                                                                   or no function of the level
MOVANE_API int fusm_level_red_set(usm_filter* f, int comp, int n, const double* level,
                                  const double* factor);

/* --- Zoom ------------------------------------------------------------------------------------
 *
 * Resizes an image by a separable filter, each direction by a factor of its own:
 *
 *   izat_zoom* z = izat_new(0);
 *   izat_start(z, 3, in_height, in_width, out_height, out_width, line_done, 3, 3);
 *   for (y = 0; y < in_height; ++y) {
 *       unsigned char* in = line(y);
 *       izat_rgb_b(z, in, in + 1, in + 2, &out[0], &out[1], &out[2]);
 *   }
 *   izat_kill(z);
 *
 * With r input pixels per output pixel, output pixel x is the weighted mean of the input between
 * (x - 0.5) * r and (x + 1.5) * r, cut off at the edges of the image. Around the centre m =
 * (x + 0.5) * r, input at u weighs 1 - (m - u) / r to the left of it and (u - m) / r to the right:
 * weights rise twice, the footprint is not symmetric, and an image of equal size is not
 * reproduced. Lines are weighed likewise. A pixel that draws on one input pixel only takes it as it
 * is.
 *
 * Weights are 16.16 fixed point, truncated, so that their sum may fall short of 1.0 by a few
 * 1/65536. Sums are 32 bits wide and wrap. 8-bit samples are rounded after each direction. 16-bit
 * samples are truncated after each direction, and are exact up to 32767 only: where lighter and
 * darker ones than that meet, sums wrap into another value.
 */

typedef struct izat_zoom izat_zoom;

/// Tells the host that the output line of a channel is complete; an exception that it lets escape
/// ends the process.
typedef void (*izat_line_done)(int channel);

/// The same with the value that was given to izat_startwh().
typedef void (*izat_user_line_done)(void* user, int channel);

/// Creates a zoom.
///
/// @param kind  any number
/// @return      a zoom the caller owns and releases with izat_kill(); null on failure
/// @fails       "izat_new:unable to create iza"  out of memory
MOVANE_API izat_zoom* izat_new(int kind);

/// Releases the zoom; null is accepted.
///
/// @return  0
MOVANE_API int izat_kill(izat_zoom* z);

/// Begins an image; to be called before its first line. Lines of an image before it are forgotten.
///
/// @param channels   as many as the line function used for this image takes: 1, 3 or 4; up to 16
///                   with izat_mono_do() and izat_mono_b_do()
/// @param in_h,in_w  lines and pixels of the input, at least 1
/// @param out_h,out_w  the same of the output; out_h at least about in_h / 499
/// @param line_done  called for every output line and channel; null for no calls
/// @param in_step    samples from one sample of a channel to the next, in input lines
/// @param out_step   the same in output lines
/// @return           1; 0 on failure, line calls do nothing then
/// @fails            "izat_start: illegal image"             a measure or count is out of its range
///                   "izat_start: max zoom factor exceeded"  2 * in_h / out_h + 2 is 1001 or more
///                   "izat_start: insuf. mem"                out of memory
MOVANE_API int izat_start(izat_zoom* z, int channels, int in_h, int in_w, int out_h, int out_w,
                          izat_line_done line_done, int in_step, int out_step);

/// izat_start() with a callback that receives a value of the host.
MOVANE_API int izat_startwh(izat_zoom* z, int channels, int in_h, int in_w, int out_h, int out_w,
                            void* user, izat_user_line_done line_done, int in_step, int out_step);

/// Feeds one line of one channel. The channels of a line are to be fed in order; the last of them
/// writes the output lines that become ready, of all channels.
///
/// The input line is not needed after the call.
///
/// @param in       first sample of the line; samples lie in_step apart
/// @param out      where to find the host's pointer to the output line of this channel. It is read
///                 once in this call; all lines that this image line makes ready are written there.
/// @param channel  0 to channels-1
/// @pre            izat_start() or izat_startwh() was called for this image
/// @calls          line_done(0) to line_done(channels-1), in this order, for every line written,
///                 each before the next channel is written
MOVANE_API void izat_mono_do(izat_zoom* z, unsigned short* in, unsigned short** out, int channel);

/// izat_mono_do() for 8-bit samples.
MOVANE_API void izat_mono_b_do(izat_zoom* z, unsigned char* in, unsigned char** out, int channel);

/// Feeds one line of a monochrome image, as izat_mono_do() does.
MOVANE_API void izat_mono(izat_zoom* z, unsigned short* in, unsigned short** out);

/// Feeds the three channels of a line, as izat_mono_do() does.
MOVANE_API void izat_rgb(izat_zoom* z, unsigned short* in0, unsigned short* in1,
                         unsigned short* in2, unsigned short** out0, unsigned short** out1,
                         unsigned short** out2);

/// Feeds the four channels of a line, as izat_mono_do() does.
MOVANE_API void izat_cmyk(izat_zoom* z, unsigned short* in0, unsigned short* in1,
                          unsigned short* in2, unsigned short* in3, unsigned short** out0,
                          unsigned short** out1, unsigned short** out2, unsigned short** out3);

/// izat_mono() for 8-bit samples.
MOVANE_API void izat_mono_b(izat_zoom* z, unsigned char* in, unsigned char** out);

/// izat_rgb() for 8-bit samples.
MOVANE_API void izat_rgb_b(izat_zoom* z, unsigned char* in0, unsigned char* in1, unsigned char* in2,
                           unsigned char** out0, unsigned char** out1, unsigned char** out2);

/// izat_cmyk() for 8-bit samples.
MOVANE_API void izat_cmyk_b(izat_zoom* z, unsigned char* in0, unsigned char* in1,
                            unsigned char* in2, unsigned char* in3, unsigned char** out0,
                            unsigned char** out1, unsigned char** out2, unsigned char** out3);

/* --- Bilinear resampling -----------------------------------------------------------------------
 *
 * Resizes an image by linear interpolation between the two nearest pixels each way. Output pixel x
 * stands at x * in_width / out_width of the input; the fraction counts in units of 1/65536 and is
 * truncated, and so are samples after each direction. Behind the last column stands that column
 * again. An image that is reduced to less than half loses what lies between.
 *
 * Each line is brought to its new width once, when it is fed, and the last two needed lines are
 * kept. Where an output line asks for the last input line alone, it still blends these two: the
 * last line of an image of equal size repeats the last line but one. An image of one line repeats
 * that line.
 *
 * The calls and their order are those of the zoom.
 */

typedef struct ibilin_filter ibilin_filter;

/// Tells the host that the output line of a channel, 0 to 3, is complete; an exception that it lets
/// escape ends the process.
typedef void (*ibilin_line_done)(int channel);

/// Creates a resampler.
///
/// @param tag  any number
/// @return     a resampler the caller owns and releases with ibilin_kill(); null on failure
/// @fails      "ibilin_new:unable to create ibilin"  out of memory
MOVANE_API ibilin_filter* ibilin_new(int tag);

/// Releases the resampler; null is accepted.
///
/// @return  0
MOVANE_API int ibilin_kill(ibilin_filter* f);

/// Begins an image; to be called before its first line. Lines of an image before it are forgotten.
///
/// @param channels   as many as the line function used for this image takes: 1, 3 or 4
/// @param in_height,in_width    lines and pixels of the input, at least 1
/// @param out_height,out_width  the same of the output
/// @param line_done  called for every output line and channel; null for no calls
/// @param in_step    samples from one sample of a channel to the next, in input lines
/// @param out_step   the same in output lines
/// @return           1; 0 on failure, line calls do nothing then
/// @fails            "ibilin_start: illegal dest image"      a measure or count is out of its range
///                   "ibilin_start: unsufficient resources"  out of memory
MOVANE_API int ibilin_start(ibilin_filter* f, int channels, int in_height, int in_width,
                            int out_height, int out_width, ibilin_line_done line_done, int in_step,
                            int out_step);

/// Feeds one line of a monochrome image and writes the output lines that become ready.
///
/// The input line is not needed after the call.
///
/// @param in   first sample of the line; samples lie in_step apart
/// @param out  where to find the host's pointer to the output line. It is read once in this call;
///             all lines that this image line makes ready are written there.
/// @pre        ibilin_start() was called for this image with channels == 1
/// @calls      line_done(0) for every line written
MOVANE_API void ibilin_mono(ibilin_filter* f, unsigned short* in, unsigned short** out);

/// ibilin_mono() for the three channels of a line.
///
/// @pre    ibilin_start() was called for this image with channels == 3
/// @calls  line_done(0), line_done(1), line_done(2), in this order, for every line written; each
///         before the next channel is written
MOVANE_API void ibilin_rgb(ibilin_filter* f, unsigned short* in0, unsigned short* in1,
                           unsigned short* in2, unsigned short** out0, unsigned short** out1,
                           unsigned short** out2);

/// ibilin_rgb() for four channels.
MOVANE_API void ibilin_cmyk(ibilin_filter* f, unsigned short* in0, unsigned short* in1,
                            unsigned short* in2, unsigned short* in3, unsigned short** out0,
                            unsigned short** out1, unsigned short** out2, unsigned short** out3);

/// ibilin_mono() for 8-bit samples.
MOVANE_API void ibilin_mono_b(ibilin_filter* f, unsigned char* in, unsigned char** out);

/// ibilin_rgb() for 8-bit samples.
MOVANE_API void ibilin_rgb_b(ibilin_filter* f, unsigned char* in0, unsigned char* in1,
                             unsigned char* in2, unsigned char** out0, unsigned char** out1,
                             unsigned char** out2);

/// ibilin_cmyk() for 8-bit samples.
MOVANE_API void ibilin_cmyk_b(ibilin_filter* f, unsigned char* in0, unsigned char* in1,
                              unsigned char* in2, unsigned char* in3, unsigned char** out0,
                              unsigned char** out1, unsigned char** out2, unsigned char** out3);

/* --- Histogram -------------------------------------------------------------------------------
 *
 * Counts integers from lo to hi one by one, and those below and above in a bin each. Counters are
 * 32 bits wide.
 */

typedef struct hist hist;

/// Creates a histogram of counts 0.
///
/// @param lo,hi  the range; an empty one, down to hi = lo - 2, has bins for what lies outside only
/// @return       a histogram the caller owns and releases with hist_kill(); null on failure
/// @fails        "hist_new: alloc self failed"  for the record
///               "hist_new: illegal bounds"     hi is below lo - 2, hi - lo + 3 is beyond int, or
///                                              there is no memory for the counts
MOVANE_API hist* hist_new(int lo, int hi);

/// Releases the histogram; null is accepted.
///
/// @return  0
MOVANE_API int hist_kill(hist* h);

/// Counts values.
///
/// @param values  n integers
/// @param n       is added to the total also when it is below 1 and nothing is counted
MOVANE_API void hist_point(hist* h, const int* values, int n);

/// @param total  receives the number of values, the divisor of all statistics
/// @return       hi - lo + 3 counts, in the histogram and open to writing: first the values below
///               lo, then lo, lo+1 ... hi, last the values above hi
MOVANE_API int* hist_get(hist* h, int* total);

/// Changes the number of values by which statistics divide.
///
/// @return  total
MOVANE_API int hist_set(hist* h, int total);

/// Mean and standard deviation of the values from lo to hi. Both are divided by the number of all
/// values, those outside included; with total 0 they are the plain sums. Products of a value and
/// its count wrap at 32 bits.
MOVANE_API void hist_med(hist* h, double* mean, double* sdev);

/// The value that a share of all values does not exceed, plus one.
///
/// @param percent  of the total
/// @return         one above the value with which percent * total / 100, truncated, is reached,
///                 counted from below; at most hi+1; lo-1 when that number is below 1
MOVANE_API int hist_percentile(hist* h, double percent);

/* --- Ordered dither --------------------------------------------------------------------------
 *
 * Brings levels 0 to in_max to fewer levels 0 to out_max such that a cell of 4 x 4 pixels has the
 * right mean: each pixel of the cell has a threshold of its own (the Bayer matrix) above which the
 * remainder of the level lifts it to the next one. A table holds all cells; it is read-only once
 * made, any number of threads may use it.
 */

typedef struct rdither rdither;

/// Creates a table.
///
/// @param in_max   highest input level, 1 to 65535
/// @param out_max  highest output level, below in_max
/// @return         a table the caller owns and releases with rdither_kill(); null on failure
/// @fails          "rdither_new: param error"               an argument is out of its range
///                 "rdither_new:unable to create rdither"   for the record
///                 "rdither_new: malloc failed"             for the cells
MOVANE_API rdither* rdither_new(unsigned int in_max, unsigned int out_max);

/// Releases the table; null is accepted.
///
/// @return  0
MOVANE_API int rdither_kill(rdither* d);

/// @param x,y    the pixel; negative ones continue the pattern
/// @param level  0 to in_max; not checked
/// @return       the output level
MOVANE_API int rdither_val(rdither* d, int x, int y, int level);

/// An addition to the family: rdither_val() for a line.
///
/// @param in        levels, in_step samples apart
/// @param out       receives the output levels, out_step bytes apart, less their upper bits; may
///                  not overlap the input
/// @param x0,y      pixel of the first sample
/// @param count     samples; below 1 does nothing
MOVANE_API void rdither_line(rdither* d, const unsigned short* in, int in_step, unsigned char* out,
                             int out_step, int x0, int y, int count);

/// rdither_line() for 8-bit levels.
MOVANE_API void rdither_line_b(rdither* d, const unsigned char* in, int in_step, unsigned char* out,
                               int out_step, int x0, int y, int count);

/* --- Flood fill --------------------------------------------------------------------------------
 *
 * Fills the region of pixels that are connected with a given one, by their sides, on any raster:
 * the host tells which pixels belong to it and fills them. Spans of pixels cast shadows onto the
 * lines beside them, where the fill goes on; memory is bounded by the lines that were reached and
 * the shadows that are open at one time, not by the area.
 */

typedef struct flood flood;

/// Whether a pixel is to be filled. It is asked for pixels outside the raster, too, and must answer
/// 0 for them, as it must for pixels that have been filled.
typedef int (*flood_inside)(void* user, int x, int y);

/// Fills the pixels x1 to x2, both included, of line y.
typedef void (*flood_fill)(void* user, int x1, int x2, int y);

/// Creates a fill.
///
/// @param inside,fill  called within flood_do(); an exception that they let escape ends the process
/// @return             a fill the caller owns and releases with flood_kill(); null on failure
/// @fails              "flood_new: malloc failure"  out of memory
MOVANE_API flood* flood_new(flood_inside inside, flood_fill fill);

/// Releases the fill; null is accepted.
///
/// @return  0
MOVANE_API int flood_kill(flood* f);

/// Fills the region around a pixel: exactly the pixels that are connected with it, each once, the
/// spans of a line from left to right. Fills nothing when the pixel itself is not inside.
///
/// @param user  given to the callbacks
/// @param x,y   the pixel
/// @return      1, also when memory runs short and a part remains unfilled
/// @fails       "new_shdw: malloc failure"           a shadow is lost
///              "flood_do: new_shdw failed"          behind it, the first one
///              "remove_overlap: algorithm failure"  the callbacks contradict themselves
MOVANE_API int flood_do(flood* f, void* user, int x, int y);

MOVANE_C_END

#endif
