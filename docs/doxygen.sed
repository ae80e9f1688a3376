# Turns the headers' plain comments into Doxygen's form. A backslash in them is literal: it is escaped, except in quotes.
/^ *\/\/ NOLINT/d
s| *// NOLINT.*||
\|//|{
  h
  s|//.*||
  x
  s|^[^/]*//|//|
  s|\\|\\\\|g
  s|[<>&#@]|\\&|g
  s|"\\\([\\&]\)|"\1|g
  x
  G
  s|\n||
}
/^ *#/b # a comment on a preprocessor line does not describe the next declaration
1s|^//|/// \\file\n///|
# "//   name   what it is" is an entry of a list; the text after the list is not part of it.
s|^//   \([A-Za-z][A-Za-z]*\)   *|/// - \*\*\1\*\* |
s|^//      *|///   |
s,^// \(Returns\|On failure\),///\n/// \1,
s|^\( *\)// |\1/// |
s|^\( *\)//$|\1///|
s|\([;,{)]\) *// |\1 ///< |
