local i, l
for round = 1, rounds do
  l = nil
  i = 0
  while i < 25000 do
    l = {i, l}
    i = i + 1
  end
end
print(l and l[1])
