// SPDX-License-Identifier: MIT
// What has to hold whatever the input was. A sanitizer finds what is illegal; these find what is legal and wrong.
#ifndef PELSANE_FUZZ_ORACLE_H
#define PELSANE_FUZZ_ORACLE_H

#include <sane/sane.h>

#include <cstddef>
#include <string>

// Ends the process, which is how a fuzzer learns of a finding, with `expectation` as the reason.
void require(bool holds, const char *expectation);

// A descriptor as an application may rely on it: terminated texts, known type, unit and capabilities, a constraint that
// fits the type and can be read to its end, a size that the listed texts do not exceed. Their terminators need not fit:
// a driver's size is taken as it is where it is as long as the longest text.
void require_sound(const SANE_Option_Descriptor &descriptor);

// The length of the longest text that is listed, 0 without a list.
std::size_t longest_listed(const SANE_Option_Descriptor &descriptor);

// The values that are allowed, as a text to compare; empty when they are not constrained.
std::string constraint_of(const SANE_Option_Descriptor &descriptor);

// Everything that a descriptor says, as a text to compare.
std::string description_of(const SANE_Option_Descriptor &descriptor);

#endif
