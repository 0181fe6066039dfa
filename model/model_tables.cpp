// Formulas and lists behind the constant tables. Transcendental values are taken in double
// precision and rounded or truncated to the stored format by the rule of each table.
#include "model_tables.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace model {
namespace {

constexpr double kPi = std::numbers::pi;

struct StoredPair {
  int index;
  Word16 c, s;
};

// Pairs that deviate from plain truncation by one unit in one part or in both.
const std::vector<StoredPair> kPairs16K = {{64, 0, -32766},
                                           {69, -4010, -32520},
                                           {98, -24278, -22005},
                                           {110, -29620, -14009},
                                           {118, -31784, -7961}};
const std::vector<StoredPair> kPairs32K = {
    {60, 24278, -22005},   {103, 9895, -31237},   {109, 7570, -31880},   {118, 4010, -32520},
    {125, 1205, -32744},   {127, 401, -32764},    {128, 0, -32766},      {140, -4808, -32412},
    {142, -5602, -32284},  {148, -7961, -31784},  {156, -11039, -30851}, {159, -12167, -30424},
    {161, -12910, -30116}, {164, -14009, -29620}, {188, -22005, -24278}, {195, -24007, -22301},
    {197, -24547, -21705}, {216, -28898, -15446}, {219, -29446, -14371}, {221, -29790, -13644},
    {231, -31237, -9895},  {235, -31684, -8350},  {237, -31880, -7570},  {246, -32520, -4010},
    {253, -32744, -1205},  {254, -32757, -803},   {255, -32764, -401}};

const Table16 kRise16k = {35,    175,   315,   750,   869,   1280,  1690,  2226,  2761,  3414,
                          4066,  4826,  5581,  6431,  7281,  8209,  9137,  10127, 11117, 12152,
                          13187, 14250, 15312, 15944, 16823, 17455, 18517, 19580, 20615, 21650,
                          22640, 23630, 24558, 25486, 26336, 27186, 27941, 28701, 29353, 30006,
                          30541, 31077, 31487, 31898, 32017, 32452, 32592, 32732};
const Table16 kRise32k = {
    35,    105,   175,   245,   315,   533,   750,   810,   869,   1075,  1280,  1485,
    1690,  1958,  2226,  2494,  2761,  3088,  3414,  3740,  4066,  4446,  4826,  5205,
    5581,  6006,  6431,  6856,  7281,  7745,  8209,  8673,  9137,  9632,  10127, 10622,
    11117, 11635, 12152, 12700, 13187, 13719, 14250, 14781, 15312, 15628, 15944, 16244,
    16523, 16823, 17139, 17455, 17986, 18517, 19049, 19580, 20098, 20615, 21133, 21650,
    22145, 22640, 23135, 23630, 24094, 24558, 25022, 25486, 25911, 26336, 26761, 27186,
    27562, 27941, 28321, 28701, 29027, 29353, 29679, 30006, 30273, 30541, 30809, 31077,
    31282, 31487, 31692, 31898, 31957, 32017, 32234, 32452, 32522, 32592, 32662, 32732};

// Right weights of consecutive bins. Along one slope of the triangular filterbank the right weight
// climbs from bin to bin; wherever it drops, the next left band begins.
const Table16 kRight8K = {
    0,     26333, 20236, 13486, 6857,  32214, 24676, 16207, 7482,  30529, 20410, 9185,  30338,
    17608, 4351,  22824, 8027,  25000, 8669,  24247, 6660,  21046, 2341,  15540, 28351, 7586,
    19309, 30343, 8316,  18506, 28440, 5053,  14258, 23007, 31541, 6853,  14820, 22412, 29817,
    4105,  11048, 17686, 24207, 30451, 3807,  9658,  15468, 21065, 26551, 31830, 4221,  9239,
    14217, 18988, 23711, 28256, 32767, 4349,  8696,  12866, 17029, 21084, 25091, 28955};
const Table16 kRight16K = {
    0,     21604, 10737, 32114, 20810, 8833,  29563, 16750, 3728,  22635, 8468,  26174, 10748,
    27220, 10478, 25633, 7628,  21554, 2290,  15071, 27556, 6579,  18148, 28977, 6707,  16586,
    26204, 2477,  11320, 19680, 27830, 2778,  10330, 17508, 24509, 31169, 4925,  11154, 17230,
    23050, 28746, 1412,  6762,  11885, 16940, 21741, 26507, 31099, 2820,  7151,  11414, 15532,
    19616, 23529, 27404, 31133, 2077,  5654,  9221,  12642, 16058, 19384, 22672, 25841, 29001,
    32072, 2352,  5323,  8312,  11179, 14040, 16831, 19622, 22308, 25018, 27634, 30268, 57,
    2610,  5098,  7604,  10011, 12437, 14820, 17194, 19496, 21813, 24059, 26323, 28512, 30714,
    94,    2244,  4348,  6459,  8529,  10589, 12569, 14590, 16565, 18529, 20465, 22391, 24266,
    26159, 27971, 29821, 31629, 665,   2401,  4179,  5910,  7626,  9319,  11025, 12680, 14324,
    15946, 17576, 19182, 20774, 22309, 23881, 25377, 26901, 28384, 29869, 31303};
const Table16 kRight32K = {
    0,     18929, 5349,  24078, 10116, 28343, 13727, 31221, 15753, 32319, 15848, 31361, 13787,
    28219, 9492,  22770, 2937,  15138, 26980, 5399,  16338, 26679, 4037,  13525, 22733, 31389,
    7036,  14968, 22716, 30041, 4402,  11174, 17790, 24079, 30213, 3270,  8997,  14454, 19777,
    24877, 29867, 1860,  6547,  11036, 15465, 19671, 23847, 27870, 31814, 2829,  6565,  10173,
    13751, 17180, 20575, 23842, 27104, 30239, 585,   3582,  6575,  9489,  12370, 15147, 17915,
    20606, 23287, 25890, 28509, 31021, 749,   3194,  5639,  7993,  10367, 12659, 14967, 17218,
    19455, 21635, 23830, 25939, 28064, 30153, 32232, 1471,  3500,  5468,  7452,  9370,  11299,
    13192, 15076, 16919, 18769, 20583, 22387, 24122, 25893, 27623, 29344, 31040, 32728, 1591,
    3250,  4838,  6458,  8042,  9634,  11155, 12712, 14229, 15733, 17216, 18711, 20161, 21602,
    23022, 24450, 25858, 27252, 28597, 29974, 31286, 32621, 1141,  2442,  3699,  4992,  6215,
    7470,  8681,  9898,  11100, 12280, 13443, 14610, 15741, 16899, 18012, 19112, 20221, 21329,
    22375, 23450, 24483, 25549, 26574, 27601, 28613, 29608, 30611, 31593, 32559, 728,   1685,
    2620,  3569,  4496,  5386,  6304,  7181,  8086,  8955,  9827,  10687, 11550, 12377, 13232,
    14050, 14871, 15681, 16489, 17269, 18069, 18841, 19637, 20396, 21158, 21912, 22666, 23387,
    24132, 24870, 25585, 26289, 27026, 27726, 28399, 29091, 29785, 30447, 31137, 31816, 32472,
    342,   995,   1635,  2283,  2915,  3555,  4187,  4797,  5421,  6027,  6646,  7248,  7838,
    8456,  9037,  9601,  10183, 10767, 11340, 11925, 12469, 13045, 13584, 14156, 14691, 15234,
    15794, 16307, 16859, 17393, 17919, 18445, 18967, 19467, 19986, 20482, 21000, 21517, 22001,
    22518, 22998, 23511, 23991, 24475, 24951, 25430, 25906, 26381, 26852, 27327, 27795, 28265,
    28728, 29174, 29633, 30099, 30537, 30999, 31429, 31891, 32321};

Word16 limited(double value) { return sat16(std::llround(value)); }

Bytes bitReversal() {
  Bytes table(256);
  for (int i = 0; i < 256; ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      if ((i >> bit) & 1)
        table[static_cast<std::size_t>(i)] |= static_cast<std::uint8_t>(128 >> bit);
    }
  }
  return table;
}

Table16 powersOfTwo() {
  Table16 table;
  for (int i = 0; i <= 64; ++i) {
    table.push_back(
        static_cast<Word16>(std::min(32767.0, std::floor(16384 * std::exp2(i / 64.0)))));
  }
  return table;
}

// Kummer's transformation M(-0.25; 1; -v) = e^-v M(1.25; 1; v) leaves a series of positive terms.
TableU16 amplitudeGain() {
  TableU16 table;
  for (int i = 0; i <= 20; ++i) {
    const double v = i / 2.0;
    double term = 1;
    double sum = 1;
    for (int n = 0; n < 200; ++n) {
      term *= (1.25 + n) * v / ((n + 1.0) * (n + 1.0));
      sum += term;
    }
    const double root = std::tgamma(1.25) * std::exp(-v) * sum;
    table.push_back(static_cast<std::uint16_t>(std::lround(root * root * 8192)));
  }
  return table;
}

Table16 roundedTwiddles(int pairs) {
  Table16 table;
  for (int j = 0; j < pairs; ++j) {
    table.push_back(limited(32768 * std::cos(kPi * j / pairs)));
    table.push_back(limited(-32768 * std::sin(kPi * j / pairs)));
  }
  return table;
}

Table16 truncatedTwiddles(int pairs, const std::vector<StoredPair>& stored) {
  Table16 table;
  for (int j = 0; j < pairs; ++j) {
    table.push_back(static_cast<Word16>(std::trunc(32767 * std::cos(kPi * j / pairs))));
    table.push_back(static_cast<Word16>(std::trunc(-32767 * std::sin(kPi * j / pairs))));
  }
  for (const StoredPair& pair : stored) {
    Word16* at = table.data() + 2 * pair.index;
    at[0] = pair.c;
    at[1] = pair.s;
  }
  return table;
}

// Twiddles in the order in which the constant-geometry stages of an N-point transform consume them.
Table16 consumptionOrder(int N, const Table16& early, const Table16& last) {
  Table16 table;
  const auto append = [&](const Table16& from, int g, int halfTurn) {
    const int pairs = static_cast<int>(from.size()) / 2;
    const auto c = from.begin() + 2 * (g * pairs / halfTurn);
    table.insert(table.end(), c, c + 2);
  };
  for (int parts = 2; parts < N / 2; parts *= 2) {
    for (int g = 0; g < parts; ++g) {
      append(early, g, parts);
      append(early, g, parts);
    }
  }
  for (int k = 0; k < N / 2; ++k) append(last, k, N / 2);
  return table;
}

Table16 raisedCosine() {
  Table16 rise;
  for (int i = 0; i < 24; ++i) {
    const double s = std::sin(kPi * (i + 0.5) / 48);
    rise.push_back(limited(32767 * s * s));
  }
  return rise;
}

Table16 window(const Table16& rise, std::size_t newSamples) {
  Table16 table = rise;
  table.resize(newSamples, 32767);
  table.insert(table.end(), rise.rbegin(), rise.rend());
  return table;
}

Table16 window32k() {
  Table16 table = window(kRise32k, 320);
  table[329] = 31693;
  table[335] = 30274;
  table[337] = 29680;
  table[343] = 27564;
  return table;
}

Table32 bands(const Table16& rightWeights, Word32 first) {
  Table32 table;
  Word32 band = first;
  for (std::size_t k = 0; k < rightWeights.size(); ++k) {
    if (k > 0 && rightWeights[k] < rightWeights[k - 1]) ++band;
    table.push_back(band);
  }
  return table;
}

Table16 complement(Table16 weights) {
  for (Word16& weight : weights) weight = lowHalf(32767 - weight);
  return weights;
}

TableFloat asFloats(const Table16& q15) {
  TableFloat table;
  for (const Word16 q : q15) table.push_back(static_cast<float>(q / 32767.0));
  return table;
}

TableFloat beamWindow() {
  TableFloat table = asFloats(window(raisedCosine(), 80));
  table[2] = table[101] = std::nextafter(table[2], 0.0F);
  return table;
}

}  // namespace

const Bytes u8BitRTab = bitReversal();
const Table16 WVQE_CONST_TABLE_POW2 = powersOfTwo();
const TableU16 WVQE_CONST_TABLE_HYPERGEOM_GAIN = amplitudeGain();

const Table16 WVQE_CONST_TABLE_FFT_COEF_8K = roundedTwiddles(64);
const Table16 WVQE_CONST_TABLE_FFT_COEF_16K = truncatedTwiddles(128, kPairs16K);
const Table16 WVQE_CONST_TABLE_FFT_COEF_32K = truncatedTwiddles(256, kPairs32K);
const Table16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K =
    consumptionOrder(64, WVQE_CONST_TABLE_FFT_COEF_8K, WVQE_CONST_TABLE_FFT_COEF_8K);
const Table16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K =
    consumptionOrder(128, WVQE_CONST_TABLE_FFT_COEF_16K, WVQE_CONST_TABLE_FFT_COEF_16K);
const Table16 WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K =
    consumptionOrder(256, WVQE_CONST_TABLE_FFT_COEF_16K, WVQE_CONST_TABLE_FFT_COEF_32K);

const Table16 WVQE_CONST_TABLE_WIN_8k = window(raisedCosine(), 80);
const Table16 WVQE_CONST_TABLE_WIN_16k = window(kRise16k, 160);
const Table16 WVQE_CONST_TABLE_WIN_32k = window32k();

const Table32 WVQE_CONST_TABLE_BANK_LEFT_8K = bands(kRight8K, 0);
const Table32 WVQE_CONST_TABLE_BANK_LEFT_16K = bands(kRight16K, 0);
const Table32 WVQE_CONST_TABLE_BANK_LEFT_32K = bands(kRight32K, 0);
const Table32 WVQE_CONST_TABLE_BANK_RIGHT_8K = bands(kRight8K, 1);
const Table32 WVQE_CONST_TABLE_BANK_RIGHT_16K = bands(kRight16K, 1);
const Table32 WVQE_CONST_TABLE_BANK_RIGHT_32K = bands(kRight32K, 1);
const Table16 WVQE_CONST_TABLE_FILTER_LEFT_8K = complement(kRight8K);
const Table16 WVQE_CONST_TABLE_FILTER_LEFT_16K = complement(kRight16K);
const Table16 WVQE_CONST_TABLE_FILTER_LEFT_32K = complement(kRight32K);
const Table16 WVQE_CONST_TABLE_FILTER_RIGHT_8K = kRight8K;
const Table16 WVQE_CONST_TABLE_FILTER_RIGHT_16K = kRight16K;
const Table16 WVQE_CONST_TABLE_FILTER_RIGHT_32K = kRight32K;

const Table16 WVQE_SUBBAND_NOISE_SUPPRESS_TABLE = {
    11610, 11610, 16406, 16406, 16406, 16406, 16406, 18402, 18402, 18402, 20654, 23170,
    23170, 23170, 24980, 26000, 29178, 30756, 30657, 30657, 29178, 23170, 19788, 16406};
const Table32 AEC_CONST_LPF_B = {1555398, -527,    3893368, 1915471, 4733362, 3425721,
                                 4733362, 1915471, 3893368, -527,    1555398};
const Table32 AEC_CONST_LPF_A = {67108864, -198873215, 355690468, -398456778, 327610495, -189089847,
                                 82965782, -24358083,  5499931,   -552504,    74750};
const Table32 AEC_CONST_HPF_B = {1787206,   -14781815,  57595579, -138815188, 228773752, -269118378,
                                 228773752, -138815188, 57595579, -14781815,  1787206};
const Table32 AEC_CONST_HPF_A = {8388608,   -46670222, 127697504, -221896864, 268508665, -234914404,
                                 149844223, -68607696, 21536335,  -4180170,   380767};
const Table32 WVQE_AGC_GAIN_TABLE_5_9 = {
    26196,  37134,  52392,  74256,  104764, 148512, 176744, 181192, 181904, 181968, 182008,
    181984, 182008, 182008, 181984, 182008, 182008, 181984, 182008, 182008, 181984, 182008,
    181984, 181968, 182008, 181984, 181984, 182008, 181984, 181984, 182008, 181984};
const Table32 WVQE_AGC_GAIN_TABLE_15_9 = {
    58000,  65535,  75535,  90535,  110535, 140535, 180535, 220535, 270000, 320535, 370535,
    410535, 450535, 490535, 530535, 545952, 545952, 545952, 545952, 545952, 545952, 545952,
    545952, 545952, 545952, 545952, 545952, 545952, 545952, 545952, 545952, 545952};

const TableFloat MVDR_CONST_TABLE_FFT_fCOEF_8K = asFloats(roundedTwiddles(64));
const TableU16 MVDR_CONST_TABLE_PHASE_INDEX_8K = {64, 32, 16, 8, 4, 2};
const TableFloat MVDR_CONST_TABLE_fWIN_8k = beamWindow();

}  // namespace model
