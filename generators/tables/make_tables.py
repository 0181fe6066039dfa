#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the library's constant tables that follow a formula or a compact listing.

    make_tables.py SRC      write the table files below the folder SRC
    make_tables.py --check SRC   exit 1 if a file there differs from what would be written

The beamformer's weights come from `arvessa beams`.
"""

import math
import os
import struct
import sys

LICENCE_NOTE = "// SPDX-License-Identifier: Apache-2.0\n"
ORIGIN_NOTE = "// Written by generators/tables/make_tables.py.\n"

# Windows. The 8 kHz window is the raised sine; the longer two were refined from it by inserting
# values, and follow no closed form. Rising halves, Q15.
WINDOW_16K = [int(x) for x in """
35, 175, 315, 750, 869, 1280, 1690, 2226, 2761, 3414, 4066, 4826, 5581, 6431, 7281, 8209, 9137,
10127, 11117, 12152, 13187, 14250, 15312, 15944, 16823, 17455, 18517, 19580, 20615, 21650,
22640, 23630, 24558, 25486, 26336, 27186, 27941, 28701, 29353, 30006, 30541, 31077, 31487,
31898, 32017, 32452, 32592, 32732
""".split(",")]
WINDOW_32K = [int(x) for x in """
35, 105, 175, 245, 315, 533, 750, 810, 869, 1075, 1280, 1485, 1690, 1958, 2226, 2494, 2761,
3088, 3414, 3740, 4066, 4446, 4826, 5205, 5581, 6006, 6431, 6856, 7281, 7745, 8209, 8673, 9137,
9632, 10127, 10622, 11117, 11635, 12152, 12700, 13187, 13719, 14250, 14781, 15312, 15628, 15944,
16244, 16523, 16823, 17139, 17455, 17986, 18517, 19049, 19580, 20098, 20615, 21133, 21650,
22145, 22640, 23135, 23630, 24094, 24558, 25022, 25486, 25911, 26336, 26761, 27186, 27562,
27941, 28321, 28701, 29027, 29353, 29679, 30006, 30273, 30541, 30809, 31077, 31282, 31487,
31692, 31898, 31957, 32017, 32234, 32452, 32522, 32592, 32662, 32732
""".split(",")]
# Where the falling half of the 32 kHz window is not the mirror of the rising one.
WINDOW_32K_EXCEPTIONS = {329: 31693, 335: 30274, 337: 29680, 343: 27564}

# Filterbank rows by left band: the bins, and the Q15 weights of those bins in the band above.
FILTERBANK = {
    "8K": """
0: 0-1 (0, 26333); 1: 2 (20236); 2: 3 (13486); 3: 4-5 (6857, 32214); 4: 6 (24676); 5: 7 (16207);
6: 8-9 (7482, 30529); 7: 10 (20410); 8: 11-12 (9185, 30338); 9: 13 (17608); 10: 14-15 (4351,
22824); 11: 16-17 (8027, 25000); 12: 18-19 (8669, 24247); 13: 20-21 (6660, 21046); 14: 22-24
(2341, 15540, 28351); 15: 25-27 (7586, 19309, 30343); 16: 28-30 (8316, 18506, 28440); 17: 31-34
(5053, 14258, 23007, 31541); 18: 35-38 (6853, 14820, 22412, 29817); 19: 39-43 (4105, 11048,
17686, 24207, 30451); 20: 44-49 (3807, 9658, 15468, 21065, 26551, 31830); 21: 50-56 (4221, 9239,
14217, 18988, 23711, 28256, 32767); 22: 57-63 (4349, 8696, 12866, 17029, 21084, 25091, 28955)""",
    "16K": """
0: 0-1 (0, 21604); 1: 2-3 (10737, 32114); 2: 4 (20810); 3: 5-6 (8833, 29563); 4: 7 (16750); 5:
8-9 (3728, 22635); 6: 10-11 (8468, 26174); 7: 12-13 (10748, 27220); 8: 14-15 (10478, 25633); 9:
16-17 (7628, 21554); 10: 18-20 (2290, 15071, 27556); 11: 21-23 (6579, 18148, 28977); 12: 24-26
(6707, 16586, 26204); 13: 27-30 (2477, 11320, 19680, 27830); 14: 31-35 (2778, 10330, 17508,
24509, 31169); 15: 36-40 (4925, 11154, 17230, 23050, 28746); 16: 41-47 (1412, 6762, 11885,
16940, 21741, 26507, 31099); 17: 48-55 (2820, 7151, 11414, 15532, 19616, 23529, 27404, 31133);
18: 56-65 (2077, 5654, 9221, 12642, 16058, 19384, 22672, 25841, 29001, 32072); 19: 66-76 (2352,
5323, 8312, 11179, 14040, 16831, 19622, 22308, 25018, 27634, 30268); 20: 77-90 (57, 2610, 5098,
7604, 10011, 12437, 14820, 17194, 19496, 21813, 24059, 26323, 28512, 30714); 21: 91-107 (94,
2244, 4348, 6459, 8529, 10589, 12569, 14590, 16565, 18529, 20465, 22391, 24266, 26159, 27971,
29821, 31629); 22: 108-127 (665, 2401, 4179, 5910, 7626, 9319, 11025, 12680, 14324, 15946,
17576, 19182, 20774, 22309, 23881, 25377, 26901, 28384, 29869, 31303)""",
    "32K": """
0: 0-1 (0, 18929); 1: 2-3 (5349, 24078); 2: 4-5 (10116, 28343); 3: 6-7 (13727, 31221); 4: 8-9
(15753, 32319); 5: 10-11 (15848, 31361); 6: 12-13 (13787, 28219); 7: 14-15 (9492, 22770); 8:
16-18 (2937, 15138, 26980); 9: 19-21 (5399, 16338, 26679); 10: 22-25 (4037, 13525, 22733,
31389); 11: 26-29 (7036, 14968, 22716, 30041); 12: 30-34 (4402, 11174, 17790, 24079, 30213); 13:
35-40 (3270, 8997, 14454, 19777, 24877, 29867); 14: 41-48 (1860, 6547, 11036, 15465, 19671,
23847, 27870, 31814); 15: 49-57 (2829, 6565, 10173, 13751, 17180, 20575, 23842, 27104, 30239);
16: 58-69 (585, 3582, 6575, 9489, 12370, 15147, 17915, 20606, 23287, 25890, 28509, 31021); 17:
70-84 (749, 3194, 5639, 7993, 10367, 12659, 14967, 17218, 19455, 21635, 23830, 25939, 28064,
30153, 32232); 18: 85-102 (1471, 3500, 5468, 7452, 9370, 11299, 13192, 15076, 16919, 18769,
20583, 22387, 24122, 25893, 27623, 29344, 31040, 32728); 19: 103-124 (1591, 3250, 4838, 6458,
8042, 9634, 11155, 12712, 14229, 15733, 17216, 18711, 20161, 21602, 23022, 24450, 25858, 27252,
28597, 29974, 31286, 32621); 20: 125-153 (1141, 2442, 3699, 4992, 6215, 7470, 8681, 9898, 11100,
12280, 13443, 14610, 15741, 16899, 18012, 19112, 20221, 21329, 22375, 23450, 24483, 25549,
26574, 27601, 28613, 29608, 30611, 31593, 32559); 21: 154-194 (728, 1685, 2620, 3569, 4496,
5386, 6304, 7181, 8086, 8955, 9827, 10687, 11550, 12377, 13232, 14050, 14871, 15681, 16489,
17269, 18069, 18841, 19637, 20396, 21158, 21912, 22666, 23387, 24132, 24870, 25585, 26289,
27026, 27726, 28399, 29091, 29785, 30447, 31137, 31816, 32472); 22: 195-255 (342, 995, 1635,
2283, 2915, 3555, 4187, 4797, 5421, 6027, 6646, 7248, 7838, 8456, 9037, 9601, 10183, 10767,
11340, 11925, 12469, 13045, 13584, 14156, 14691, 15234, 15794, 16307, 16859, 17393, 17919,
18445, 18967, 19467, 19986, 20482, 21000, 21517, 22001, 22518, 22998, 23511, 23991, 24475,
24951, 25430, 25906, 26381, 26852, 27327, 27795, 28265, 28728, 29174, 29633, 30099, 30537,
30999, 31429, 31891, 32321)""",
}

# Twiddle pairs that deviate from the truncation rule, by index: (cos, -sin) in Q15.
TWIDDLE_EXCEPTIONS = {
    "8K": {},
    "16K": {64: (0, -32766), 69: (-4010, -32520), 98: (-24278, -22005), 110: (-29620, -14009),
            118: (-31784, -7961)},
    "32K": {60: (24278, -22005), 103: (9895, -31237), 109: (7570, -31880), 118: (4010, -32520),
            125: (1205, -32744), 127: (401, -32764), 128: (0, -32766), 140: (-4808, -32412),
            142: (-5602, -32284), 148: (-7961, -31784), 156: (-11039, -30851),
            159: (-12167, -30424), 161: (-12910, -30116), 164: (-14009, -29620),
            188: (-22005, -24278), 195: (-24007, -22301), 197: (-24547, -21705),
            216: (-28898, -15446), 219: (-29446, -14371), 221: (-29790, -13644),
            231: (-31237, -9895), 235: (-31684, -8350), 237: (-31880, -7570),
            246: (-32520, -4010), 253: (-32744, -1205), 254: (-32757, -803), 255: (-32764, -401)},
}


def round_half_away(x):
    return int(math.copysign(math.floor(abs(x) + 0.5), x))


def twiddles(rate):
    """(cos t, -sin t) in Q15 for t = pi j / N, j = 0..N-1."""
    points = {"8K": 64, "16K": 128, "32K": 256}[rate]
    pairs = []
    for j in range(points):
        # Exact zeros where the library's cosine is not exact.
        cos = 0.0 if 2 * j == points else math.cos(math.pi * j / points)
        sin = math.sin(math.pi * j / points)
        if rate == "8K":
            pair = (min(32767, round_half_away(32768 * cos)), round_half_away(-32768 * sin))
        else:
            pair = (math.trunc(32767 * cos), math.trunc(-32767 * sin))
        pairs.append(TWIDDLE_EXCEPTIONS[rate].get(j, pair))
    return pairs


def rearranged(rate):
    """The twiddles of the radix-2 stages after the first, in the order of their use."""
    points = {"8K": 64, "16K": 128, "32K": 256}[rate]
    stages = points.bit_length() - 2
    pairs = []
    for s in range(1, stages + 1):
        source = twiddles("16K" if rate == "32K" and s < stages else rate)
        step = len(source) >> s
        for g in range(1 << s):
            pairs += [source[g * step]] * (2 if s < stages else 1)
    return pairs


def window_8k_rise():
    return [round_half_away(32767 * math.sin(math.pi * (i + 0.5) / 48) ** 2) for i in range(24)]


def fixed_window(rise, exceptions=None):
    h = len(rise)
    window = rise + [32767] * (10 * h // 3 - h) + rise[::-1]
    for i, value in (exceptions or {}).items():
        window[i] = value
    return window


def float_window():
    """The 8 kHz window as float; entry 2 and its mirror lie one unit in the last place below."""
    rise = [single(w / 32767) for w in window_8k_rise()]
    rise[2] = "0.0265205838F"
    return rise + ["1.0F"] * 56 + rise[::-1]


def single(x):
    """The C++ literal of the single-precision number nearest to x."""
    text = "%.9g" % struct.unpack("f", struct.pack("f", x))
    return text + ("F" if "." in text or "e" in text else ".0F")


def filterbank(rate):
    """Rows (left band, right weight) by bin."""
    rows = []
    for entry in " ".join(FILTERBANK[rate].split()).split("; "):
        band, rest = entry.split(": ")
        bins, weights = rest.rstrip(")").split(" (")
        first, last = (bins.split("-") * 2)[:2]
        weights = [int(w) for w in weights.split(", ")]
        assert int(first) == len(rows) and int(last) + 1 - int(first) == len(weights), entry
        rows += [(int(band), w) for w in weights]
    return rows


def kummer_squared(v):
    """[Gamma(1.25) M(-0.25; 1; -v)]^2 by M(a; b; -v) = exp(-v) M(b - a; b; v)."""
    term = total = 1.0
    for n in range(200):
        term *= (1.25 + n) / (1.0 + n) * v / (n + 1)
        total += term
    return (math.gamma(1.25) * math.exp(-v) * total) ** 2


# Each pair of 16-bit numbers in one word.
PAIRS = "alignas(4) const"


def array(ctype, name, values, comment, qualifier="const"):
    text = ", ".join(str(v) for v in values)
    lines, line = [], "   "
    for word in text.split():
        if len(line) + 1 + len(word) > 100:
            lines.append(line)
            line = "   "
        line += " " + word
    lines.append(line)
    note = "".join("// %s\n" % c for c in comment.split("\n") if c)
    return "%s%s %s %s[%d] = {\n%s};\n" % (
        note, qualifier, ctype, name, len(values), "\n".join(lines))


def table_file(header, exported, hidden=(), room="arvessa::kernels"):
    text = LICENCE_NOTE + '#include "%s"\n\n' % header + ORIGIN_NOTE + "\n// clang-format off\n\n"
    if hidden:
        text += ("namespace %s {\n\n" % room + "\n".join(hidden)
                 + "\n}  // namespace %s\n\n" % room)
    return (text + 'extern "C" {\n\n' + "\n".join(exported)
            + '\n}  // extern "C"\n\n// clang-format on\n')


def flat(pairs):
    return [v for pair in pairs for v in pair]


def files():
    out = {}
    out["arithmetic/pow2_table.cpp"] = table_file("arithmetic/pow2_table.h", [array(
        "Word16", "WVQE_CONST_TABLE_POW2",
        [min(32767, math.floor(16384 * 2 ** (i / 64))) for i in range(65)],
        "2^(i/64) in Q14, floored, 2.0 clamped.")])

    fft = [array("unsigned char", "u8BitRTab", [int("{:08b}".format(i)[::-1], 2) for i in range(256)],
                 "The bits of a byte in reverse order.")]
    rules = {"8K": "rounded, 1.0 clamped to 32767.",
             "16K": "32767 cos t, -32767 sin t truncated toward zero,\nbut for 5 pairs.",
             "32K": "32767 cos t, -32767 sin t truncated toward zero,\nbut for 27 pairs."}
    for rate, points in (("8K", 64), ("16K", 128), ("32K", 256)):
        fft.append(array("Word16", "WVQE_CONST_TABLE_FFT_COEF_" + rate, flat(twiddles(rate)),
                         "(cos t, -sin t) in Q15, t = pi j / %d, j = 0..%d: %s"
                         % (points, points - 1, rules[rate]), PAIRS))
    for rate in ("8K", "16K", "32K"):
        source = " The last stage from\nthe table of its own rate, the others from the 16 kHz table." \
            if rate == "32K" else ""
        fft.append(array("Word16", "WVQE_CONST_TABLE_FFT_COEF_Rearrange_" + rate,
                         flat(rearranged(rate)),
                         "The same pairs in the order in which the stages use them: stage s takes\n"
                         "exp(-2 pi j g / 2^(s+1)), g = 0..2^s-1, each twice but in the last." + source,
                         PAIRS))
    out["noise_reduction/transform_tables.cpp"] = table_file("noise_reduction/tables.h", fft)

    out["noise_reduction/analysis_window_tables.cpp"] = table_file("noise_reduction/tables.h", [
        array("Word16", "WVQE_CONST_TABLE_WIN_8k", fixed_window(window_8k_rise()),
              "Q15: 24 rising values 32767 sin^2(pi (i + 0.5) / 48), 56 of 32767, 24 falling."),
        array("Word16", "WVQE_CONST_TABLE_WIN_16k", fixed_window(WINDOW_16K),
              "Q15: 48 rising values, 112 of 32767, 48 falling."),
        array("Word16", "WVQE_CONST_TABLE_WIN_32k", fixed_window(WINDOW_32K, WINDOW_32K_EXCEPTIONS),
              "Q15: 96 rising values, 224 of 32767, 96 falling; not quite symmetric.")])

    banks, first_bins = [], []
    for rate in ("8K", "16K", "32K"):
        rows = filterbank(rate)
        banks += [
            array("Word32", "WVQE_CONST_TABLE_BANK_LEFT_" + rate, [b for b, _ in rows],
                  "The band at or below each bin."),
            array("Word32", "WVQE_CONST_TABLE_BANK_RIGHT_" + rate, [b + 1 for b, _ in rows],
                  "The band above each bin."),
            array("Word16", "WVQE_CONST_TABLE_FILTER_LEFT_" + rate, [32767 - w for _, w in rows],
                  "The bin's share in the lower band, Q15: 32767 less the other share."),
            array("Word16", "WVQE_CONST_TABLE_FILTER_RIGHT_" + rate, [w for _, w in rows],
                  "The bin's share in the upper band, Q15.")]
        first_bins.append(array(
            "std::uint16_t", "kFirstBins" + rate.lower(),
            [sum(b < band for b, _ in rows) for band in range(25)],
            "The first bin of which each band is the lower one; last, the number of bins."))
    out["noise_reduction/filterbank_tables.cpp"] = table_file(
        "noise_reduction/tables.h", banks, first_bins, "arvessa")

    out["kernels/gain_curve_table.cpp"] = table_file("kernels/gain_curves.h", [array(
        "unsigned short", "WVQE_CONST_TABLE_HYPERGEOM_GAIN",
        [round_half_away(8192 * kummer_squared(i / 2)) for i in range(21)],
        "[Gamma(1.25) M(-0.25; 1; -v)]^2 in Q13 at v = 0, 0.5 .. 10, M Kummer's function.")])

    float_pairs = [tuple(single(q / 32767) for q in pair) for pair in twiddles("8K")]
    stage_order = [float_pairs[r * (64 >> s)] for s in range(2, 6) for r in range(1 << s)]
    out["beamformer/window_table.cpp"] = table_file("beamformer/window_table.h", [
        array("float", "MVDR_CONST_TABLE_fWIN_8k", float_window(),
              "round(32767 sin^2(pi (i + 0.5) / 48)) / 32767 rising over 24 samples, 1, and falling;\n"
              "entry 2 and its mirror one unit in the last place lower.")])
    out["kernels/float_transform_tables.cpp"] = table_file("kernels/float_transform_tables.h", [
        array("float", "MVDR_CONST_TABLE_FFT_fCOEF_8K", flat(float_pairs),
              "cos t, -sin t, t = 2 pi m / 128, m = 0..63, interleaved: Q15 integers divided by 32767,\n"
              "so that -1 is -32768/32767."),
        array("unsigned short", "MVDR_CONST_TABLE_PHASE_INDEX_8K", [64 >> s for s in range(6)],
              "Step in the twiddle table between the butterfly columns of stage s.")],
        [array("float", "kTwiddleCosine", [c for c, _ in float_pairs],
               "The pairs of MVDR_CONST_TABLE_FFT_fCOEF_8K apart."),
         array("float", "kTwiddleSine", [s for _, s in float_pairs], ""),
         array("float", "kStageCosine", [c for c, _ in stage_order],
               "The pairs of stages 2 to 5, column by column, apart.", "alignas(16) const"),
         array("float", "kStageSine", [s for _, s in stage_order], "", "alignas(16) const")])
    return out


def main():
    check = "--check" in sys.argv
    root = [a for a in sys.argv[1:] if a != "--check"][0]
    stale = []
    for name, text in files().items():
        path = os.path.join(root, name)
        if check:
            with open(path, encoding="utf-8") as f:
                if f.read() != text:
                    stale.append(path)
        else:
            with open(path, "w", encoding="utf-8") as f:
                f.write(text)
    for path in stale:
        print("differs from what make_tables.py writes:", path, file=sys.stderr)
    sys.exit(bool(stale))


if __name__ == "__main__":
    main()
