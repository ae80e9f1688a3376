// What the terminal behind a standard stream can do. One implementation per system.
#ifndef TARVIK_TOOLS_TERMINAL_H
#define TARVIK_TOOLS_TERMINAL_H

enum class Stream { Output, Error };

// True when the stream shows on a terminal that understands escape sequences for colours.
bool IsColourTerminal(Stream stream);

#endif
