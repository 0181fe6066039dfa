#include "engine/fixed_fft.h"

#include <cstring>
#include <type_traits>
#include <utility>

#include "engine/engine_state.h"
#include "engine/fixed_fft_lanes.h"
#include "fixedpoint/block_float.h"
#include "fixedpoint/lanes.h"
#include "fixedpoint/operators.h"

namespace arvessa {
namespace {

// Field by field: GCC keeps braces full of addresses as relocated constants in writable data.
Size sizeOf(int selector) {
  Size size;
  if (selector == 0) {
    size.points = 64;
    size.stages = 5;
    size.coef = WVQE_CONST_TABLE_FFT_COEF_8K;
    size.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_8K;
  } else if (selector == 1) {
    size.points = 128;
    size.stages = 6;
    size.coef = WVQE_CONST_TABLE_FFT_COEF_16K;
    size.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_16K;
  } else {
    size.points = 256;
    size.stages = 7;
    size.coef = WVQE_CONST_TABLE_FFT_COEF_32K;
    size.rearranged = WVQE_CONST_TABLE_FFT_COEF_Rearrange_32K;
  }
  return size;
}

int selectorOf(int n) {
  if (n == 128) return 0;
  return n == 256 ? 1 : 2;
}

// Arithmetic for any input.
struct Saturating {
  static Word32 add(Word32 a, Word32 b) { return lAdd(a, b); }
  static Word32 sub(Word32 a, Word32 b) { return lSub(a, b); }
  static Word32 negate(Word32 a) { return lNegate(a); }
  static Word32 mpy(Word32 word, Word16 factor) { return mpy32x16(word, factor); }
};

// The same where no operation can saturate.
struct WithHeadroom {
  static Word32 add(Word32 a, Word32 b) { return a + b; }
  static Word32 sub(Word32 a, Word32 b) { return a - b; }
  static Word32 negate(Word32 a) { return -a; }
  static Word32 mpy(Word32 word, Word16 factor) {
    return static_cast<Word32>((std::int64_t{word} * factor) >> 15);
  }
};

// Forward, no complex value grows beyond the largest magnitude of the input, sqrt(2) times its
// largest component, by more than the roundings: a stage halves the sum of two. Inside a stage and
// in the split step the sums stay below 2 sqrt(2) times that: 2^30 for components below 2^28.
bool hasForwardHeadroom(const Word32* x, int words) { return usedBits(x, words) < (1U << 28); }

// Inverse, nothing exceeds the sum of the magnitudes of all inputs by more than a factor of 2 (in
// the split step) and the roundings. So a sum of all components below 2^29 never saturates.
bool hasInverseHeadroom(const Word32* x, int words) {
  // In units of 512; each magnitude may be up to one unit short.
  Lanes sum = {0, 0, 0, 0};
  for (int i = 0; i < words; i += 4) {
    const Lanes word = loadLanes(x + i);
    sum += (word ^ (word >> 31)) >> 9;
  }
  return std::int64_t{sum[0]} + sum[1] + sum[2] + sum[3] + words < (1 << 20);
}

struct Complex {
  Word32 re;
  Word32 im;
};

template <class Arith, bool kInverse>
Complex multiply(Word32 re, Word32 im, Word16 c, Word16 s) {
  if constexpr (kInverse) {
    return {Arith::add(Arith::mpy(re, c), Arith::mpy(im, s)),
            Arith::sub(Arith::mpy(im, c), Arith::mpy(re, s))};
  } else {
    return {Arith::sub(Arith::mpy(re, c), Arith::mpy(im, s)),
            Arith::add(Arith::mpy(re, s), Arith::mpy(im, c))};
  }
}

template <class Arith, bool kInverse>
void butterfly(const Word32* a, Complex t, Word32* sum, Word32* difference) {
  constexpr int kHalve = kInverse ? 0 : 1;
  sum[0] = Arith::add(a[0], t.re) >> kHalve;
  sum[1] = Arith::add(a[1], t.im) >> kHalve;
  difference[0] = Arith::sub(a[0], t.re) >> kHalve;
  difference[1] = Arith::sub(a[1], t.im) >> kHalve;
}

// The twiddle of the first stage is 1, as near as Q15 comes: 32767.
template <class Arith, bool kInverse>
void firstStage(const Word32* src, Word32* dst, const Size& size) {
  const int half = size.points / 2;
  const Word16 one = size.coef[0];
  for (int k = 0; k < half; ++k) {
    const Word32* a = src + 2 * (u8BitRTab[k] >> (8 - size.stages));
    const Word32* b = a + size.points;
    const Complex t = {Arith::mpy(b[0], one), Arith::mpy(b[1], one)};
    butterfly<Arith, kInverse>(a, t, dst + 2 * k, dst + size.points + 2 * k);
  }
}

// Stage s: 2^s twiddles, each for a run of neighbouring butterflies; each is stored twice, but in
// the last stage, where a run is a single butterfly.
template <class Arith, bool kInverse>
void stage(const Word32* in, Word32* out, const Size& size, int s, const Word16* twiddle) {
  const int run = size.points >> (s + 1);
  const int step = run > 1 ? 4 : 2;
  Word32* difference = out + size.points;
  for (int group = 0; group < 1 << s; ++group, twiddle += step) {
    const Word16 cosine = twiddle[0];
    const Word16 sine = twiddle[1];
    for (int k = 0; k < run; ++k, in += 4, out += 2, difference += 2) {
      const Complex t = multiply<Arith, kInverse>(in[2], in[3], cosine, sine);
      butterfly<Arith, kInverse>(in, t, out, difference);
    }
  }
}

template <class Arith, bool kInverse>
void remainingStages(Word32* a, Word32* b, const Size& size) {
  const Word16* twiddle = size.rearranged;
  for (int s = 1; s <= size.stages; ++s) {
    if constexpr (kHaveLanes && std::is_same_v<Arith, WithHeadroom>) {
      stageLanes<kInverse>(a, b, size, s, twiddle);
    } else {
      stage<Arith, kInverse>(a, b, size, s, twiddle);
    }
    twiddle += 4 << s;
    std::swap(a, b);
  }
}

template <class Arith, bool kInverse>
void complexTransform(Word32* x, const Size& size) {
  Word32 scratch[kMaxTransform];
  if constexpr (kHaveLanes && std::is_same_v<Arith, WithHeadroom>) {
    firstStageLanes<kInverse>(x, scratch, size);
  } else {
    firstStage<Arith, kInverse>(x, scratch, size);
  }
  remainingStages<Arith, kInverse>(scratch, x, size);
  if (size.stages % 2 == 0) {
    std::memcpy(x, scratch, static_cast<std::size_t>(size.points) * sizeof(Complex));
  }
}

// Bins k and N - k from `first` on.
template <class Arith>
void forwardSplit(const Word32* z, Word32* out, const Size& size, int first = 1) {
  for (int k = first; k <= size.points / 2; ++k) {
    const int m = size.points - k;
    const Word32 a = Arith::add(z[2 * k], z[2 * m]);
    const Word32 b = Arith::sub(z[2 * m], z[2 * k]);
    const Word32 c = Arith::sub(z[2 * k + 1], z[2 * m + 1]);
    const Word32 d = Arith::add(z[2 * k + 1], z[2 * m + 1]);
    const Word16* wk = size.coef + 2 * k;
    const Word16* wm = size.coef + 2 * m;
    const Word32 reK = Arith::sub(Arith::mpy(d, wk[0]), Arith::mpy(b, wk[1]));
    const Word32 imK = Arith::add(Arith::mpy(b, wk[0]), Arith::mpy(d, wk[1]));
    const Word32 reM = Arith::add(Arith::mpy(d, wm[0]), Arith::mpy(b, wm[1]));
    const Word32 imM = Arith::add(Arith::negate(Arith::mpy(b, wm[0])), Arith::mpy(d, wm[1]));
    out[2 * k] = Arith::add(a, reK) >> 1;
    out[2 * k + 1] = Arith::add(c, imK) >> 1;
    out[2 * m] = Arith::add(a, reM) >> 1;
    out[2 * m + 1] = Arith::add(Arith::negate(c), imM) >> 1;
  }
}

template <class Arith>
void inverseSplit(const Word32* x, Word32* out, const Size& size, int first = 1) {
  for (int k = first; k <= size.points / 2; ++k) {
    const int m = size.points - k;
    const Word32 a = Arith::add(x[2 * k], x[2 * m]);
    const Word32 b = Arith::negate(Arith::sub(x[2 * m], x[2 * k]));
    const Word32 c = Arith::sub(x[2 * k + 1], x[2 * m + 1]);
    const Word32 d = Arith::negate(Arith::add(x[2 * k + 1], x[2 * m + 1]));
    const Word16* wk = size.coef + 2 * k;
    const Word16* wm = size.coef + 2 * m;
    const Word32 reK = Arith::add(Arith::mpy(d, wk[0]), Arith::mpy(b, wk[1]));
    const Word32 imK = Arith::sub(Arith::mpy(b, wk[0]), Arith::mpy(d, wk[1]));
    const Word32 reM = Arith::sub(Arith::mpy(d, wm[0]), Arith::mpy(b, wm[1]));
    const Word32 imM = Arith::negate(Arith::add(Arith::mpy(b, wm[0]), Arith::mpy(d, wm[1])));
    out[2 * k] = Arith::add(a, reK) >> 1;
    out[2 * k + 1] = Arith::add(c, imK) >> 1;
    out[2 * m] = Arith::add(a, reM) >> 1;
    out[2 * m + 1] = Arith::add(Arith::negate(c), imM) >> 1;
  }
}

template <class Arith>
void forwardTransform(Word32* x, Word32* out, const Size& size) {
  complexTransform<Arith, false>(x, size);
  out[0] = Arith::add(x[0], x[1]);
  out[1] = Arith::sub(x[0], x[1]);
  if constexpr (kHaveLanes && std::is_same_v<Arith, WithHeadroom>) {
    forwardSplit<Arith>(x, out, size, splitLanes<false>(x, out, size));
  } else {
    forwardSplit<Arith>(x, out, size);
  }
}

template <class Arith>
void unpack(const Word32* x, Word32* out, const Size& size) {
  out[0] = Arith::add(x[0], x[1]) >> 1;
  out[1] = Arith::sub(x[0], x[1]) >> 1;
  if constexpr (kHaveLanes && std::is_same_v<Arith, WithHeadroom>) {
    inverseSplit<Arith>(x, out, size, splitLanes<true>(x, out, size));
  } else {
    inverseSplit<Arith>(x, out, size);
  }
}

}  // namespace
}  // namespace arvessa

extern "C" {

void WVQE_FFT(Word32* x, Word16 n, Word16 /*points*/, Word16 /*stages*/, const Word16* /*twiddles*/,
              const Word16* /*reordering*/, Word32* out) {
  using namespace arvessa;
  const Size size = sizeOf(selectorOf(n));
  if (hasForwardHeadroom(x, 2 * size.points)) {
    forwardTransform<WithHeadroom>(x, out, size);
  } else {
    forwardTransform<Saturating>(x, out, size);
  }
}

void WVQE_IFFT(const Word32* X, Word16 n, Word16 /*points*/, Word16 /*stages*/,
               const Word16* /*twiddles*/, const Word16* /*reordering*/, Word32* out) {
  using namespace arvessa;
  const int selector = selectorOf(n);
  if (selector == 2 && n != kMaxTransform) {
    unpack<Saturating>(X, out, sizeOf(0));
    WVQE_Complex_IFFT(out, n);
    return;
  }
  const Size size = sizeOf(selector);
  if (hasInverseHeadroom(X, 2 * size.points)) {
    unpack<WithHeadroom>(X, out, size);
    complexTransform<WithHeadroom, true>(out, size);
  } else {
    unpack<Saturating>(X, out, size);
    complexTransform<Saturating, true>(out, size);
  }
}

void WVQE_Complex_FFT(Word32* x, Word16 n) {
  using namespace arvessa;
  complexTransform<Saturating, false>(x, sizeOf(selectorOf(n)));
}

void WVQE_Complex_IFFT(Word32* x, Word16 n) {
  using namespace arvessa;
  complexTransform<Saturating, true>(x, sizeOf(selectorOf(n)));
}

void VORN_NR_c_fft_rever_ASM(const Word32* src, Word32* dst, int sel) {
  using namespace arvessa;
  firstStage<Saturating, false>(src, dst, sizeOf(sel));
}

void VORN_NR_c_ifft_rever_ASM(const Word32* src, Word32* dst, int sel) {
  using namespace arvessa;
  firstStage<Saturating, true>(src, dst, sizeOf(sel));
}

void VORN_NR_c_fft_COP_ASM(Word32* a, Word32* b, int /*twiddlePosition*/, int /*pairCounter*/,
                           int sel) {
  using namespace arvessa;
  remainingStages<Saturating, false>(a, b, sizeOf(sel));
}

void VORN_NR_c_ifft_COP_ASM(Word32* a, Word32* b, int /*twiddlePosition*/, int /*pairCounter*/,
                            int sel) {
  using namespace arvessa;
  remainingStages<Saturating, true>(a, b, sizeOf(sel));
}

void VORN_NR_r_fft_COP_ASM(const Word32* Z, Word32* X, int sel) {
  using namespace arvessa;
  forwardSplit<Saturating>(Z, X, sizeOf(sel));
}

void VORN_NR_r_ifft_COP_ASM(const Word32* X, Word32* Z, int sel) {
  using namespace arvessa;
  inverseSplit<Saturating>(X, Z, sizeOf(sel));
}

}  // extern "C"
