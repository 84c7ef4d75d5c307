local i, t, w = 0, 0, "catalogue"
while i < 10000000 do
  i = i + 1
  t = t + #w
end
