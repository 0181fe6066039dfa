// SPDX-License-Identifier: Apache-2.0
#pragma once
// A frame of the beamformer in two steps, between which a beam is chosen. Both forms have the same
// results, to the bit.
//
//   SteppedFrame   one float kernel after the other
//   SoftwareFrame  where a library routine computes every operation: mantissas and exponents stay
//                  apart throughout (apart_float.h)

#include <type_traits>

#include "kernels/apart_float.h"
#include "kernels/float_kernels.h"

namespace arvessa::kernels {

// Blocks of two microphones, one after the other.
using BlockPair = std::span<const Word16, 2 * kFloatBlock>;

struct FrameInput {
  BlockPair blocks;
  std::span<const float, kWindow> window;
  const BeamWeights& weights;
  bool outerConjugate;  // as PlainFloat::formBeams says
};

template <class Form>
class SteppedFrame {
 public:
  static constexpr const char* kName = Form::kName;

  // All beams; their energies are added.
  void formBeams(const FrameInput& input, float (&energies)[kFormedBeams]) {
    Form::analyse(input.blocks.template first<kFloatBlock>(), input.window, x_[0]);
    Form::analyse(input.blocks.template last<kFloatBlock>(), input.window, x_[1]);
    Form::formBeams(input.weights, input.outerConjugate, x_, y_, energies);
  }

  // The samples of one; the overlap moves on.
  void output(const FrameInput& input, int beam, std::span<float, kFlank> overlap,
              std::span<Word16, kFloatFrame> out) {
    HalfSpectrum& y = y_[beam];
    Form::formBeam(input.weights, beam, 0, kFirstEnergyBin, x_, y);
    Form::inverseTransform(y, x_[0]);
    Form::overlapAdd(x_[0], overlap, out);
  }

 private:
  HalfSpectrum x_[2];
  HalfSpectrum y_[kFormedBeams];
};

struct ApartBin {
  Apart re;
  Apart im;
};
using ApartSpectrum = ApartBin[kFloatBins];

class SoftwareFrame {
 public:
  static constexpr const char* kName = "software float";

  void formBeams(const FrameInput& input, float (&energies)[kFormedBeams]);
  void output(const FrameInput& input, int beam, std::span<float, kFlank> overlap,
              std::span<Word16, kFloatFrame> out);

  // Whether numbers are such that the frame is the plain form's; see software_frame.cpp.
  bool isPlain() const { return isPlain_; }

 private:
  struct Spectra {
    ApartSpectrum x[2];
    ApartSpectrum y[kFormedBeams];
  };

  bool tryFormBeams(const FrameInput& input, float (&sums)[kFormedBeams]);
  bool tryOutput(const FrameInput& input, int beam, std::span<float, kFlank> overlap,
                 std::span<Word16, kFloatFrame> out);

  bool isPlain_;
  union {
    Spectra apart_;
    SteppedFrame<PlainFloat> plain_;
  };
};

#if defined(__SOFTFP__) || defined(ARVESSA_KERNELS_SOFTWARE_FLOAT)
using ActiveFrame = SoftwareFrame;
#else
using ActiveFrame = SteppedFrame<ActiveFloatForm>;
#endif

}  // namespace arvessa::kernels
