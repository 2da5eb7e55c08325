set(libraries -Wl,--wrap=malloc -Wl,--wrap=calloc -Wl,--wrap=realloc -Wl,--wrap=_ZnwmRKSt9nothrow_t)
