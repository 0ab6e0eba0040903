// SPDX-License-Identifier: MIT
// Numbers above 0x8800 that the driver and the backend share: the well-known identifiers of options, which frontends
// use as option keys, and the driver's information items, which are read and written under their names.
#ifndef PELSANE_OPTION_IDS_H
#define PELSANE_OPTION_IDS_H

#include <string_view>

// Identifier of a well-known option. Drivers may assign further values through the "fix-id" key of an option's text.
enum sane_option_id : int {
    SANE_OPTION_ID_BASE = 34816, // well-known identifiers and information items lie above
    SANE_OPTION_ID_LANGUAGE = 34908,
};

struct well_known_option {
    std::string_view name; // compared exactly; some are misspelt and must match the driver
    int id;
};

inline constexpr well_known_option well_known_options[] = {
    {"is-multiout", 34817},
    {"multiout-type", 34818},
    {"mode", 34819},
    {"filter", 34820},
    {"is-rid-multiout-red", 34821},
    {"is-rid-answer-sheet-red", 34822},
    {"is-erase-bkg", 34823},
    {"bkg-color-range", 34824},
    {"sharpen", 34825},
    {"is-rid-morr", 34826},
    {"is-rid-grid", 34827},
    {"is-err-extension", 34828},
    {"is-noise-optimize", 34829},
    {"noise-size", 34830},
    {"paper", 34831},
    {"is-custom-area", 34832},
    {"tl-x", 34833},
    {"br-x", 34834},
    {"tl-y", 34835},
    {"br-y", 34836},
    {"is-size-check", 34837},
    {"page", 34838},
    {"blank-sensitivity", 34839},
    {"resolution", 34840},
    {"image-quality", 34841},
    {"is-exchange", 34842},
    {"is-split", 34843},
    {"is-anti-skew", 34844},
    {"is-custom-gamma", 34845},
    {"brightness", 34846},
    {"contrast", 34847},
    {"gamma", 34848},
    {"is-erase-black-frame", 34849},
    {"is-dark-sample", 34850},
    {"threshold", 34851},
    {"anti-noise-level", 34852},
    {"margin", 34853},
    {"bkg-fill-mode", 34854},
    {"is-anti-permeate", 34855},
    {"permeate-level", 34856},
    {"is-rid-hole", 34857},
    {"search-hole-range", 34858},
    {"is-fill-color", 34859},
    {"is-ultrosonic", 34860},
    {"is-staple", 34861},
    {"scan-mode", 34862},
    {"scan-count", 34863},
    {"direction", 34864},
    {"is-rotate-bkg-180", 34865},
    {"is-check-dog-ear", 34866},
    {"dog-ear-size", 34867},
    {"is-check-askew", 34868},
    {"askew-range", 34869},
    {"binary-threshold", 34870},
    {"is-photo-mode", 34871},
    {"double-feed", 34872},
    {"is-wait-scan", 34873},
    {"feed-strength", 34874},
    {"time-to-sleep", 34875},
    {"is-auto-strength", 34876},
    {"feed-strength-value", 34877},
    {"reverse-bw", 34878},
    {"is-rid-hole-l", 34879},
    {"search-hole-range-l", 34880},
    {"is-rid-hole-r", 34881},
    {"search-hole-range-r", 34882},
    {"is-rid-hole-t", 34883},
    {"search-hole-range-t", 34884},
    {"is-rid-hole-b", 34885},
    {"search-hole-range-b", 34886},
    {"fold-type", 34887},
    {"color-correction", 34888},
    {"language", 34908},
    {"initial-boot-time", 34918},
    {"discardblank", 34919},
    {"is-lens-dirty", 34920},
    {"token", 34921},
};

struct information_item {
    int id;
    const char *name;
    int length; // bytes of the value's buffer
};

inline constexpr information_item information_items[] = {
    {34889, "total-cnt", 4},
    {34890, "drv-ver", 255},
    {34891, "company", 255},
    {34892, "copyright", 255},
    {34893, "co-url", 255},
    {34894, "co-tel", 255},
    {34895, "co-addr", 255},
    {34896, "co-gps", 255},
    {34897, "help", 4},
    {34898, "dev-vid", 4},
    {34899, "dev-pid", 4},
    {34900, "dev-name", 255},
    {34901, "dev-model", 255},
    {34902, "dev-sn", 255},
    {34903, "fmw-ver", 255},
    {34904, "ip-addr", 255},
    {34905, "mac-addr", 255},
    {34906, "custom-gamma", 1312},
    {34907, "roller-life", 4},
    {34909, "motor-ver", 255},
    {34910, "trans-img-fmt", 80},
    {34911, "free-buf", 8},
    {34918, "initial-boot-time", 255},
    {34925, "json-device-type", 255},
    {34926, "button-count", 4},
    {34927, "original-image", 1},
    {34928, "upload-file", 255},
    {39168, "login", 255},
    {39169, "logout", 255},
    {39170, "roll-cnt", 4},
    {39171, "drv-log", 255},
    {39172, "devs-log", 255},
};

#endif
