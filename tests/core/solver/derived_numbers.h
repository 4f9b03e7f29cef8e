// SPDX-License-Identifier: Apache-2.0
//
// Inputs and expected bits of the solver tests. derive_numbers.py beside this file
// derives and prints them; edit that and not this.
#ifndef RIGSYNC_TESTS_CORE_SOLVER_DERIVED_NUMBERS_H
#define RIGSYNC_TESTS_CORE_SOLVER_DERIVED_NUMBERS_H

namespace derived {

// clang-format off

// Per-image translations x, y, z, their mean, and T_STD.
constexpr float Verdict_Samples[7][3] = {
    {0x1.2abefcp+5f, 0x1.8c23b6p+6f, 0x1.1a6e36p+7f},
    {-0x1.526e4cp+5f, 0x1.7e09p+6f, 0x1.43be48p+5f},
    {0x1.5acefep+6f, 0x1.52e2bep+3f, 0x1.abec7ap+4f},
    {-0x1.2e634ep+4f, 0x1.6ccef4p+6f, 0x1.dd0534p+3f},
    {0x1.042274p+6f, 0x1.5190bep+6f, 0x1.b49acap+5f},
    {0x1.40652cp+6f, 0x1.809866p+5f, 0x1.d8ef7cp+4f},
    {0x1.053ba4p+6f, 0x1.33b9a6p+2f, 0x1.336668p+5f},
};

// Doubles that aren't floats.
constexpr double Verdict_Mean[3] = {0x1.402b774f05c6p+4, 0x1.13a4febb94b3ep+6, 0x1.4dd2c735fe965p+6};

// In metres.
constexpr float Verdict_T_STD[3] = {0x1.93cedep+5f, 0x1.32d0b8p+5f, 0x1.9f5146p+5f};

// The same for the filter: nothing here is a float before it is narrowed.
constexpr double Filter_Samples[7][3] = {
    {-0x1.c01f848e72396p+4, -0x1.850e539a9d21ap+4, 0x1.9542544d5362p+1},
    {0x1.39787986eb7d2p+6, 0x1.5176e9b9a1e55p+5, 0x1.027dfac57be45p+7},
    {0x1.6607495874069p+6, -0x1.7410680e2b146p+4, 0x1.ea273cf74f617p+6},
    {0x1.7057747e7ea75p+6, 0x1.26ad609adacf3p+5, 0x1.91e62401c96p+1},
    {0x1.7ba8fd84de957p+6, 0x1.1a36463e92d73p+3, 0x1.0435c53e8f07cp+4},
    {-0x1.035d2614c985fp+5, 0x1.51011c22d8e6bp+5, 0x1.d22e43f723e9p+4},
    {-0x1.f26b05093af7p+1, 0x1.10173ce6afea1p+5, 0x1.01f95f10f37c9p+7},
};

// Doubles that aren't floats.
constexpr double Filter_Mean[3] = {0x1.d413020f6284cp+4, 0x1.e84d40b1af616p+2, 0x1.1213ba5c0f0dcp+6};

// In metres.
constexpr float Filter_STD_T[3] = {0x1.c562fcp+5f, 0x1.d0d954p+4f, 0x1.cb7598p+5f};

// Cosines between rotation axes. The text of the first deviation is another one with a
// fuller pi, of the second with an angle in double, of the third with a float quotient.
constexpr float Axis_Cosines[7] = {0x1.fbdb32p-2f, -0x1.b1946ap-2f, 0x1.4880ccp-5f, 0x1.a1674cp-3f, 0x1.8f7614p-1f, 0x1.757894p-1f, 0x1.07813ep-1f};

// Their angles.
constexpr float Axis_Deviations_Deg[7] = {0x1.e2239p+5f, 0x1.cc33c2p+6f, 0x1.5ecea4p+6f, 0x1.38f5e6p+6f, 0x1.35c542p+5f, 0x1.594988p+5f, 0x1.d8340ap+5f};

// Root mean square of the angles.
constexpr float Axis_STD_R_Deg = 0x1.24e138p+6f;

// Differences whose spread is exactly 1 with each of the three first ones, which are
// under, on and over the limit 1.3f.
constexpr float Limit_First[3] = {0x1.4ccccap+0f, 0x1.4cccccp+0f, 0x1.4ccccep+0f};

// The seven others.
constexpr float Limit_Rest[7] = {0x1.dc5406p-1f, 0x1.023dfap+0f, 0x1.6b944p-1f, 0x1.19f462p+0f, 0x1.dc72bp-1f, 0x1.6ff9a2p-1f, 0x1.26e97ap+0f};

// The first is over the limit by the float factor, and not by the double 1.3.
constexpr float Float_Limit[8] = {0x1.e866a6p+0f, 0x1.99b3bap+0f, 0x1.046b0cp+0f, 0x1.4152d8p+0f, 0x1.7a9e3ap+0f, 0x1.f4dbaep-1f, 0x1.aa234p+0f, 0x1.95063ap+0f};

// The first is over the limit by the float spread, and not by a spread in double.
constexpr float Float_Spread[8] = {0x1.b117fap+0f, 0x1.442926p+0f, 0x1.3f052p-1f, 0x1.785f3cp+0f, 0x1.f49ddap-1f, 0x1.519376p+0f, 0x1.48d7ecp+0f, 0x1.7ab0c2p+0f};

// A rotation vector.
constexpr double Norm_Vector[3] = {0x1.970e9c967fa78p-1, -0x1.de9e7d621a62p-4, 0x1.25459b1ebefcp-2};

// Its direction, over the length in float.
constexpr double Norm_Result[3] = {0x1.dd287eac49017p-1, -0x1.1885a9047de46p-3, 0x1.57c70dbfd80c7p-2};

// Two vectors.
constexpr double Dot_Sample[3] = {0x1.7206db7f2303ap+0, 0x1.b2a3502eaa454p+0, 0x1.7002eaebf3882p+0};

// The other one.
constexpr double Dot_Mean[3] = {-0x1.cf0c25394aec2p+0, 0x1.d63e7157eb276p+0, -0x1.d16069aca5478p-2};

// Their dot product, summed in float.
constexpr float Dot_Result = -0x1.3150a4p-3f;

// Translations of poses. Summed in any other precision or order, the mean has other bits.
constexpr double Mean_Samples[9][3] = {
    {0x1.417fccb082a26p+3, 0x1.5fafd5cac927ap+1, 0x1.156086bbd4373p+4},
    {0x1.f45c9ef4af2d6p+4, 0x1.6919288919293p+4, 0x1.3b7de21fcf043p+5},
    {0x1.63ee7beca59c9p+4, 0x1.ec3de559328c6p+2, 0x1.22e68a805650ep+4},
    {0x1.26453013d3728p-1, 0x1.dae12c808ef76p+2, 0x1.4d5905c03a304p+3},
    {0x1.cbc19236472ap-2, 0x1.d658c7a825a5cp+4, 0x1.cc539ebc221d6p+1},
    {-0x1.c6fcb4c9be911p+0, -0x1.614c2083b3511p+1, 0x1.adae372495e8p-5},
    {0x1.0c1a604ddc3a3p+5, 0x1.fe48d11f7ac7p+4, 0x1.10cbf0ae8cf39p+5},
    {0x1.18c3dbf1a1a11p+2, 0x1.a55102f644bb4p+2, 0x1.13293f0014a8cp+1},
    {0x1.79fe1ea98944cp-1, 0x1.11623bb2a4925p+5, 0x1.053256d0ca544p+0},
};

// Floats, widened.
constexpr double Mean_Result[3] = {0x1.68b5c8p+3, 0x1.f0c1b8p+3, 0x1.c10748p+3};

// Projected points x, y, the same in each image.
constexpr float Reproj_Projected[6][2] = {
    {0x1.6f90ecp-1f, -0x1.61991p+1f},
    {0x1.22f4ecp+1f, 0x1.07563p-1f},
    {-0x1.b22bep-1f, 0x1.f9cdfap-2f},
    {0x1.695492p+0f, 0x1.7ae0cp-1f},
    {0x1.4037c8p-2f, 0x1.dbcd4ep-2f},
    {0x1.3638a4p+1f, -0x1.5384e8p+1f},
};

// Found points x, y of every image.
constexpr float Reproj_Found[5][6][2] = {
    {{0x1.807e84p+6f, 0x1.487fcap+9f}, {0x1.11aba6p+7f, 0x1.b69ddp+9f}, {0x1.59c1c6p+9f, 0x1.2f3efcp+8f}, {0x1.b0cab6p+8f, 0x1.f22eb8p+7f}, {0x1.a15bbep+7f, 0x1.b43b46p+9f}, {0x1.983c5p+8f, 0x1.6aa966p+7f}},
    {{0x1.1d4c4p+9f, 0x1.b33c58p+9f}, {0x1.41bbfep+6f, 0x1.f440d4p+8f}, {0x1.0a7f4ap+9f, 0x1.51935cp+9f}, {0x1.b5717ap+8f, 0x1.9300c6p+8f}, {0x1.ba97aep+8f, 0x1.bef144p+9f}, {0x1.355608p+9f, 0x1.5baa02p+9f}},
    {{0x1.953512p+7f, 0x1.06f0cap+7f}, {0x1.dc312ep+6f, 0x1.469eep+9f}, {0x1.1fcb0cp+9f, 0x1.7cb80cp+8f}, {0x1.2a283cp+8f, 0x1.1da482p+9f}, {0x1.7dcf62p+9f, 0x1.f120bap+6f}, {0x1.e442p+7f, 0x1.81a1bep+9f}},
    {{0x1.73ddd6p+9f, 0x1.0465d4p+9f}, {0x1.9b6ce6p+5f, 0x1.eccbbap+8f}, {0x1.7518dp+7f, 0x1.1f6808p+8f}, {0x1.b5baa6p+9f, 0x1.c10488p+8f}, {0x1.0b6bdep+9f, 0x1.91c07p+6f}, {0x1.32eb26p+8f, 0x1.b12868p+9f}},
    {{0x1.bdb764p+6f, 0x1.3dc49cp+9f}, {0x1.bc05f8p+9f, 0x1.aab5d4p+8f}, {0x1.bfb45cp+9f, 0x1.6693a8p+9f}, {0x1.79a04ep+9f, 0x1.450d22p+9f}, {0x1.77fcccp+6f, 0x1.a205c6p+9f}, {0x1.11f558p+9f, 0x1.d4a45ep+8f}},
};

// Mean distances of the images.
constexpr float Reproj_Image_Errors[5] = {0x1.59c332p+9f, 0x1.9ad7b2p+9f, 0x1.3e8dbep+9f, 0x1.5d6fb2p+9f, 0x1.bc95cap+9f};

// And of all.
constexpr float Reproj_Average = 0x1.75d604p+9f;

// clang-format on

}  // namespace derived

#endif  // RIGSYNC_TESTS_CORE_SOLVER_DERIVED_NUMBERS_H
