use integer;
my ($i, $n, $s) = (0, 0, "");
while ($i < 10000000) {
  $i = $i + 1;
  $s .= "x";
  $n = $n + 1;
  if ($n == 1000) {
    $s = "";
    $n = 0;
  }
}
