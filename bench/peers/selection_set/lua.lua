local s, e, i, j
s = {"1F0", "1F1", "1F2", "1F3", "1F4", "1F5", "1F6", "1F7",
     "1F8", "1F9", "1FA", "1FB", "1FC", "1FD", "1FE", "1FF"}
for round = 1, rounds do
  j = 0
  while j < 1400 do
    i = 1
    while i <= #s do
      e = s[i]
      i = i + 1
    end
    j = j + 1
  end
end
print(e)
