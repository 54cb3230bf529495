// Gives the precompiled headers a target that compiles them.
