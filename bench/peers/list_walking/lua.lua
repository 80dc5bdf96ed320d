local l, p, sum, i
for value = 0, 999 do
  l = {value, l}
end
for round = 1, rounds do
  i = 0
  while i < 18 do
    p = l
    sum = 0
    while p do
      sum = sum + p[1]
      p = p[2]
    end
    i = i + 1
  end
end
print(sum)
