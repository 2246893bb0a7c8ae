/// \file Types.h
/// Integer types of the framework that the hosts were written against, with
/// the widths they had there. `long` is never used: it is 8 bytes here and
/// 4 on the original platform.
#pragma once

#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using BOOL = std::int32_t;
using INT_PTR = std::int64_t;
using UINT_PTR = std::uint64_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using HINSTANCE = void*;
using HMODULE = void*;
using LPVOID = void*;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
