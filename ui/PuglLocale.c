/* Linked into pugl, which calls it in the place of Xlib's XSetLocaleModifiers: which input method
   is opened is for InputMethodScope (NativeWindow.h) to say. */
char* tdLeaveLocaleModifiers(const char* modifiers);

char* tdLeaveLocaleModifiers(const char* modifiers) {
    (void)modifiers;
    return 0;
}
