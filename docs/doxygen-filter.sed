# Makes the headers' plain comments those of what they stand before, for doxygen; not a line more or less.
/^ *\/\/( |$)/ {
  :block
  N
  /\n *\/\/[^\n]*$/ b block
  # A remark of its own stays one: with an empty line behind it, or on a namespace that is another header's.
  /\n$|\nnamespace foundation/ b
  s,(^|\n)( *)//,\1\2///,g
}
s,; +// ,;  ///< ,
# A specialisation of a class of another namespace is more than doxygen can read.
/^struct std::hash</,/^};/ s,.*,,
