// xlocale(3), and what the C++ library asks an Apple C library for beyond it. The values of the classes are ours, beside the one bit that the C++
// library takes for itself.
#pragma once
#include <ctype.h>
#include <locale.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wchar.h>
#include <wctype.h>
typedef uint32_t __uint32_t;
enum {
    _CTYPE_A = 1 << 8,
    _CTYPE_B = 1 << 9,
    _CTYPE_C = 1 << 10,
    _CTYPE_D = 1 << 11,
    _CTYPE_L = 1 << 12,
    _CTYPE_P = 1 << 13,
    _CTYPE_R = 1 << 14,
    _CTYPE_S = 1 << 15,
    _CTYPE_U = 1 << 16,
    _CTYPE_X = 1 << 17,
};
#ifdef __cplusplus
extern "C" {
#endif
int asprintf_l(char**, locale_t, const char*, ...);
int snprintf_l(char*, size_t, locale_t, const char*, ...);
int sscanf_l(const char*, locale_t, const char*, ...);
long long strtoll_l(const char*, char**, int, locale_t);
unsigned long long strtoull_l(const char*, char**, int, locale_t);
int digittoint(int);
struct lconv* localeconv_l(locale_t);
wint_t btowc_l(int, locale_t);
int wctob_l(wint_t, locale_t);
int mbtowc_l(wchar_t*, const char*, size_t, locale_t);
size_t mbrlen_l(const char*, size_t, mbstate_t*, locale_t);
size_t mbrtowc_l(wchar_t*, const char*, size_t, mbstate_t*, locale_t);
size_t mbsnrtowcs_l(wchar_t*, const char**, size_t, size_t, mbstate_t*, locale_t);
size_t mbsrtowcs_l(wchar_t*, const char**, size_t, mbstate_t*, locale_t);
size_t wcrtomb_l(char*, wchar_t, mbstate_t*, locale_t);
size_t wcsnrtombs_l(char*, const wchar_t**, size_t, size_t, mbstate_t*, locale_t);
#ifdef __cplusplus
}
#endif
