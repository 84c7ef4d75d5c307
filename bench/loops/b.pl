use integer;
my ($i, $a1, $b1) = (0, 0, 0);
while ($i < 10000) {
  my $j = 0;
  while ($j < 1000) {
    if ($j % 2 == 0) {
      $a1 = $a1 + 1;
    } else {
      $b1 = $b1 + 1;
    }
    $j = $j + 1;
  }
  $i = $i + 1;
}
