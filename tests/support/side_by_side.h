// SPDX-License-Identifier: Apache-2.0
// Routines of the library beside those of the reference, which have the same names: both are called
// with the same arguments, and all that they write must agree to the bit.
#pragma once

#include <algorithm>

#include "arithmetic/operators.h"
#include "support/support.h"

namespace arvessa::test {

// An array of which each side has its own copy.
template <class T>
struct Both {
  explicit Both(std::size_t n) : library(n), wanted(n) {}
  template <class Draw>
  Both(std::size_t n, Draw draw) : library(n) {
    std::generate(library.begin(), library.end(), draw);
    wanted = library;
  }
  explicit Both(std::vector<T> both) : library(std::move(both)), wanted(library) {}
  void put(std::size_t i, T value) { library[i] = wanted[i] = value; }

  std::vector<T> library, wanted;
};

// An argument as each side sees it.
template <class T>
const T& ofLibrary(const T& value) {
  return value;
}
template <class T>
const T& ofReference(const T& value) {
  return value;
}
template <class T>
T* ofLibrary(Both<T>& array) {
  return array.library.data();
}
template <class T>
T* ofReference(Both<T>& array) {
  return array.wanted.data();
}
template <class T>
void expectSameContent(const T& /*value*/) {}
template <class T>
void expectSameContent(Both<T>& array) {
  expectSameArray(array.library.data(), array.wanted.data(), array.library.size(), "array");
}

template <class Library, class Reference, class... Args>
void expectSame(const char* name, Library library, Reference reference, Args&&... args) {
  SCOPED_TRACE(name);
  if constexpr (std::is_void_v<decltype(library(ofLibrary(args)...))>) {
    library(ofLibrary(args)...);
    reference(ofReference(args)...);
  } else {
    const auto got = library(ofLibrary(args)...);
    EXPECT_EQ(got, reference(ofReference(args)...));
  }
  (expectSameContent(args), ...);
}
#define EXPECT_SAME(name, ...) expectSame(#name, ::name, reference::name, __VA_ARGS__)

// A function of numbers alone.
template <class Result, class... Args>
struct Pair {
  const char* name;
  Result (*library)(Args...);
  Result (*wanted)(Args...);
};
template <class Result, class... Args>
Pair(const char*, Result (*)(Args...), Result (*)(Args...)) -> Pair<Result, Args...>;
#define PAIR(name) \
  Pair { #name, ::name, reference::name }

// draw(operands) fills the tuple of a function's operands.
template <class Draw, class Result, class... Args>
void expectSameFunction(int rounds, Draw& draw, const Pair<Result, Args...>& pair) {
  for (int i = 0; i < rounds; ++i) {
    std::tuple<Args...> operands;
    draw(operands);
    const Result got = std::apply(pair.library, operands);
    const Result want = std::apply(pair.wanted, operands);
    ASSERT_EQ(got, want) << pair.name << testing::PrintToString(operands);
  }
}
template <class Draw, class... Pairs>
void expectSameFunctions(int rounds, Draw draw, const Pairs&... pairs) {
  (expectSameFunction(rounds, draw, pairs), ...);
}

}  // namespace arvessa::test
