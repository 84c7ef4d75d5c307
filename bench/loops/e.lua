local i, t, w, out = 0, 0, "catalogue", ""
while i < 3000000 do
  i = i + 1
  out = string.format("%d:%s", i, w)
  t = t + #out
end
