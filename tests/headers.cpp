// SPDX-License-Identifier: MIT
// Nothing: what is precompiled has to belong to something that is compiled.
