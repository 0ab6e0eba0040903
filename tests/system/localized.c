/* SPDX-License-Identifier: MIT */
/* Preloaded, makes an application use the locale of its environment, as those with a user interface do. */
#include <locale.h>

__attribute__((constructor)) static void use_locale_of_environment(void)
{
    setlocale(LC_ALL, "");
}
