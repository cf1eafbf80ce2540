// Needs a function that nobody has.

extern void nobodyHasThisFunction();

__attribute__((visibility("default"))) void callIt() { nobodyHasThisFunction(); }
