// SPDX-License-Identifier: Apache-2.0
#include "abi/exported_transforms.h"

#include "abi/views.h"
#include "kernels/fixed_transform.h"

namespace arvessa {
namespace {

using kernels::TransformTables;
namespace steps = kernels::saturating;

TransformTables tablesOfSelector(int selector) { return geometryOf(selector).transform; }
TransformTables tablesOfWords(int n) { return tablesOfSelector(sizeCodeOf(n)); }

}  // namespace
}  // namespace arvessa

extern "C" {

void WVQE_FFT(Word32* x, Word16 n, Word16 /*points*/, Word16 /*stages*/, const Word16* /*twiddles*/,
              const Word16* /*reordering*/, Word32* out) {
  using namespace arvessa;
  const TransformTables tables = tablesOfWords(n);
  // The definition leaves the spectrum of the pairs in x.
  kernels::Plain::forwardTransform({view(x, 2 * tables.points)}, tables,
                                   view(out, 2 * tables.points));
}

void WVQE_IFFT(const Word32* X, Word16 n, Word16 /*points*/, Word16 /*stages*/,
               const Word16* /*twiddles*/, const Word16* /*reordering*/, Word32* out) {
  using namespace arvessa;
  const TransformTables tables = tablesOfWords(n);
  if (n != 2 * tables.points) {
    steps::inverseUnpack(X, out, tablesOfSelector(0));
    steps::complexTransform(out, tables, true);
    return;
  }
  Kernels::inverseTransform({view(X, n), Kernels::bitsOf(view(X, n))}, tables, view(out, n));
}

void WVQE_Complex_FFT(Word32* x, Word16 n) {
  arvessa::steps::complexTransform(x, arvessa::tablesOfWords(n), false);
}

void WVQE_Complex_IFFT(Word32* x, Word16 n) {
  arvessa::steps::complexTransform(x, arvessa::tablesOfWords(n), true);
}

void VORN_NR_c_fft_rever_ASM(const Word32* src, Word32* dst, int sel) {
  arvessa::steps::firstStage(src, dst, arvessa::tablesOfSelector(sel), false);
}

void VORN_NR_c_ifft_rever_ASM(const Word32* src, Word32* dst, int sel) {
  arvessa::steps::firstStage(src, dst, arvessa::tablesOfSelector(sel), true);
}

void VORN_NR_c_fft_COP_ASM(Word32* a, Word32* b, int /*twiddlePosition*/, int /*pairCounter*/,
                           int sel) {
  using namespace arvessa;
  steps::stagesFrom(1, a, b, tablesOfSelector(sel), false);
}

void VORN_NR_c_ifft_COP_ASM(Word32* a, Word32* b, int /*twiddlePosition*/, int /*pairCounter*/,
                            int sel) {
  using namespace arvessa;
  steps::stagesFrom(1, a, b, tablesOfSelector(sel), true);
}

void VORN_NR_r_fft_COP_ASM(const Word32* Z, Word32* X, int sel) {
  arvessa::steps::forwardSplit(Z, X, arvessa::tablesOfSelector(sel));
}

void VORN_NR_r_ifft_COP_ASM(const Word32* X, Word32* Z, int sel) {
  arvessa::steps::inverseSplit(X, Z, arvessa::tablesOfSelector(sel));
}

}  // extern "C"
