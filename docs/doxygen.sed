# The headers' plain comments, in the form that Doxygen takes for documentation. A backslash in them is just one.
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
1s|^//|/// \\file\n///|
s|^\( *\)// |\1/// |
s|^\( *\)//$|\1///|
s|\([;,{)]\) *// |\1 ///< |
