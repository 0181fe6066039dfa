/*
 * Sample and status types shared by the front end and its engine.
 * Part of Arvessa. SPDX-License-Identifier: Apache-2.0
 */
#ifndef ARVESSA_TYPES_H
#define ARVESSA_TYPES_H

#include <stdint.h>

/* Marks a name that the shared library exports, plain and undecorated. */
#if defined(__GNUC__)
#define ARVESSA_API __attribute__((visibility("default")))
#else
#define ARVESSA_API
#endif

/* 16- and 32-bit two's-complement fixed-point values. Samples are Q15 `Word16`: 32767 is just
 * below full scale. */
typedef int16_t Word16;
typedef int32_t Word32;

#endif /* ARVESSA_TYPES_H */
