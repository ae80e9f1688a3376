# The headers' plain comments, in the form that Doxygen takes for documentation. A backslash in them is just one.
/^ *\/\/ NOLINT/d
s| *// NOLINT.*||
\|//|{
  h
  s|//.*||
  x
  s|^[^/]*//|//|
  s|\\|\\\\|g
  s|[<>&#@]|\\&|g
  x
  G
  s|\n||
}
/^ *#/b # a comment on a line of the preprocessor's tells nothing about the next declaration
1s|^//|/// \\file\n///|
# "//   name   what it is" is a list's entry; what follows the list is no part of it.
s|^//   \([A-Za-z][A-Za-z]*\)   *|/// - \*\*\1\*\* |
s|^//      *|///   |
s,^// \(Returns\|On failure\),///\n/// \1,
s|^\( *\)// |\1/// |
s|^\( *\)//$|\1///|
s|\([;,{)]\) *// |\1 ///< |
